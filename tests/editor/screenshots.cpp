// Makes the pictures of the window that the documentation shows: screenshots FOLDER. The server is simulated, so that
// they are the same wherever they are made.
#include <QDir>
#include <QGuiApplication>
#include <QImage>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "editor/editor_window.h"

namespace brindlemux {
namespace {

struct Studio : test::EditorWindow {
  Studio()
      : EditorWindow({named("Stream", "Stream Mix", 4), named("Podcast", "Podcast", 2), named("Stage", "Stage", 16)}) {
    hardware.addDevice(test::output("Headphones", "Headphones"));
    play(200, "com.example.Browser", "Web Browser");
    play(201, "com.example.Call", "Video Call");
    play(202, "com.example.Drums", "Drum Machine");
    state->refreshEnvironment();
  }

  static VirtualDeviceConfig named(const std::string& uid, const std::string& name, std::int64_t channels) {
    VirtualDeviceConfig config = test::device(uid, channels);
    config.name = name;
    return config;
  }
  void play(std::int32_t pid, const std::string& bundleID, const std::string& name) {
    hardware.addProcess({.pid = pid, .bundleID = bundleID, .isPlaying = true});
    applications.set(pid, name);
  }
  static SourceNodeConfig source(std::uint8_t number, SourceKindConfig kind, float gain = 1) {
    SourceNodeConfig source;
    source.id = UUID{{number}};
    source.kind = std::move(kind);
    source.gain = gain;
    return source;
  }
  static MonitorNodeConfig monitor(std::uint8_t number, const std::string& uid, const std::string& name) {
    MonitorNodeConfig monitor = test::speakers(number, name);
    monitor.deviceUID = uid;
    return monitor;
  }

  /// A browser, a microphone and a call into four channels, two of them on the speakers.
  void stream() {
    const std::string uid = test::device("Stream").uid;
    state->updateGraph(uid, AppState::Persist::yes, [](DeviceGraph& graph) {
      graph.sources = {source(1, AppSource{"com.example.Browser", "Web Browser"}, 1.25F),
                       source(2, MicSource{"Microphone", "Desk Microphone"}),
                       source(3, AppSource{"com.example.Call", "Video Call"})};
      graph.wires = {{UUID{{1}}, 0, 0}, {UUID{{1}}, 1, 1}, {UUID{{2}}, 0, 0},
                     {UUID{{2}}, 0, 1}, {UUID{{3}}, 0, 2}, {UUID{{3}}, 1, 3}};
      graph.monitors = {monitor(8, "Speakers", "Studio Speakers"), monitor(9, "Headphones", "Headphones")};
      graph.monitorWires = {{0, UUID{{8}}, 0}, {1, UUID{{8}}, 1}, {2, UUID{{9}}, 0}, {3, UUID{{9}}, 1}};
    });
    MeterSnapshot meters;
    meters.sourcePeaks = {{UUID{{1}}, {0.62F, 0.48F}}, {UUID{{2}}, {0.31F}}, {UUID{{3}}, {0.22F, 0.2F}}};
    meters.outputPeaks = {0.71F, 0.58F, 0.22F, 0.2F};
    meters.passThruPeaks = {0, 0, 0, 0};
    AppStateProbe::setMeters(*state, uid, meters);
  }

  /// Sixteen channels with something on all of them.
  void stage() {
    const std::string uid = test::device("Stage").uid;
    MeterSnapshot meters;
    state->updateGraph(uid, AppState::Persist::yes, [&](DeviceGraph& graph) {
      const std::string names[] = {"Drum Machine", "Web Browser", "Player", "Video Call"};
      const std::string bundles[] = {"com.example.Drums", "com.example.Browser", "com.example.Player",
                                     "com.example.Call"};
      for (std::uint8_t i = 0; i < 4; ++i) {
        graph.sources.push_back(source(std::uint8_t(20 + i), AppSource{bundles[i], names[i]}));
        for (std::int64_t channel = 0; channel < 2; ++channel) {
          for (std::int64_t bank = 0; bank < 2; ++bank)
            graph.wires.push_back({UUID{{std::uint8_t(20 + i)}}, channel, 8 * bank + 2 * i + channel});
        }
        meters.sourcePeaks[UUID{{std::uint8_t(20 + i)}}] = {0.7F - 0.12F * float(i), 0.55F - 0.1F * float(i)};
      }
      graph.monitors = {monitor(30, "Speakers", "Studio Speakers"), monitor(31, "Headphones", "Headphones")};
      for (std::int64_t channel = 0; channel < 16; ++channel)
        graph.monitorWires.push_back({channel, UUID{{std::uint8_t(30 + channel % 4 / 2)}}, channel % 2});
    });
    for (int channel = 0; channel < 16; ++channel)
      meters.outputPeaks.push_back(float(0.4 + 0.3 * std::sin(channel * 1.3)));
    meters.passThruPeaks.assign(16, 0);
    AppStateProbe::setMeters(*state, uid, meters);
  }

  /// Waits until nothing moves any more but the wires, and keeps what the window shows.
  void keep(const QDir& folder, const QString& name) const {
    test::eventually([] { return false; }, std::chrono::milliseconds(900));
    if (!window()->grabWindow().save(folder.filePath(name))) throw std::runtime_error("cannot write the picture");
    std::printf("%s\n", qPrintable(folder.filePath(name)));
  }
};

void makeScreenshots(const QDir& folder) {
  Studio studio;
  studio.window()->resize(1220, 740);
  studio.stream();
  studio.click("source." + UUID{{1}}.string() + ".gainToggle");
  studio.move({760, 700});
  studio.keep(folder, "graph.png");

  studio.click("addSource");
  studio.keep(folder, "add-source.png");
  studio.key(Qt::Key_Escape);

  studio.window()->resize(1440, 1180);
  studio.move({760, 1100});
  studio.stage();
  studio.state->setSelectedDeviceUID(test::device("Stage").uid);
  studio.keep(folder, "sixteen-channels.png");
}

}  // namespace
}  // namespace brindlemux

int main(int argc, char* argv[]) {
  if (argc != 2) {
    std::fputs("usage: screenshots FOLDER\n", stderr);
    return 2;
  }
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("QT_QUICK_BACKEND", "software");
  qputenv("QT_SCALE_FACTOR", "2");
  const QGuiApplication application(argc, argv);
  try {
    brindlemux::makeScreenshots(QDir(QString::fromLocal8Bit(argv[1])));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "screenshots: %s\n", error.what());
    return 1;
  }
  return 0;
}
