#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QSGRendererInterface>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <sys/resource.h>
#include <vector>

#include "editor/canvas_window.h"
#include "editor/crowded_graph.h"

// What the graph editor costs with a crowded graph: the time of a frame on the main thread and the processor's share.
// The renderer is chosen as usual: QT_QUICK_BACKEND=software, or none for the graphics processor.
//
//   canvas_bench [width height [picture.png]]

namespace brindlemux {
namespace {

double processorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void wait(std::chrono::milliseconds time) {
  QEventLoop loop;
  QTimer::singleShot(time, &loop, &QEventLoop::quit);
  loop.exec();
}

/// Frames from the first look at the items until the picture is handed over. The processor's time counts that of all
/// threads, and is what can be compared on a machine that others use too.
struct FrameTimes {
  explicit FrameTimes(QQuickWindow* window) {
    QObject::connect(window, &QQuickWindow::afterAnimating, window, [this] {
      begin.start();
      processorBegin = processorSeconds();
    });
    QObject::connect(
        window, &QQuickWindow::frameSwapped, window,
        [this] {
          if (!begin.isValid()) return;
          wall.push_back(static_cast<double>(begin.nsecsElapsed()) / 1e6);
          processor.push_back((processorSeconds() - processorBegin) * 1e3);
        },
        Qt::DirectConnection);
  }
  QElapsedTimer begin;
  double processorBegin = 0;
  std::vector<double> wall;
  std::vector<double> processor;
};

/// The value that this part of all values does not exceed.
double quantile(std::vector<double> values, double part) {
  if (values.empty()) return 0;
  std::ranges::sort(values);
  return values[static_cast<std::size_t>(part * static_cast<double>(values.size() - 1))];
}

void measure(const char* name, FrameTimes& frames) {
  constexpr std::chrono::seconds span{5};
  wait(std::chrono::seconds(1));
  frames.wall.clear();
  frames.processor.clear();
  QElapsedTimer wall;
  wall.start();
  const double before = processorSeconds();
  wait(span);
  const double seconds = static_cast<double>(wall.nsecsElapsed()) / 1e9;
  const double share = (processorSeconds() - before) / seconds;
  std::printf(
      "%-16s %5.1f frames/s, each %6.2f ms (95%% %6.2f), of the processor %6.2f ms (95%% %6.2f); share %5.1f %%\n",
      name, static_cast<double>(frames.wall.size()) / seconds, quantile(frames.wall, 0.5), quantile(frames.wall, 0.95),
      quantile(frames.processor, 0.5), quantile(frames.processor, 0.95), share * 100);
}

int run(const QStringList& arguments) {
  const QSize size = arguments.size() > 2 ? QSize(arguments[1].toInt(), arguments[2].toInt()) : QSize(2560, 1440);
  const DeviceGraph graph = test::crowdedGraph();
  test::CanvasWindow open(graph, test::crowdedChannels, size);
  FrameTimes frames(open.window.get());
  const bool isSoftware = open.window->rendererInterface()->graphicsApi() == QSGRendererInterface::Software;
  std::printf("%dx%d at %.1f, %s, %zu wires\n", open.window->width(), open.window->height(),
              open.window->effectiveDevicePixelRatio(), isSoftware ? "software" : "graphics processor",
              graph.wires.size() + graph.monitorWires.size());

  int moment = 0;
  bool isAudible = true;
  QTimer meters;
  QObject::connect(&meters, &QTimer::timeout,
                   [&] { open.play(isAudible ? test::crowdedMeters(graph, ++moment) : test::silentMeters(graph)); });
  meters.start(AppState::meterInterval);
  measure("open, audible", frames);
  if (arguments.size() > 3) open.window->grabWindow().save(arguments[3]);
  isAudible = false;
  measure("open, silent", frames);
  isAudible = true;
  open.window->hide();
  measure("hidden, audible", frames);
  return 0;
}

}  // namespace
}  // namespace brindlemux

int main(int argc, char* argv[]) {
  const QGuiApplication application(argc, argv);
  return brindlemux::run(QGuiApplication::arguments());
}
