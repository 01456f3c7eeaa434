#include <QDBusConnection>
#include <QGuiApplication>
#include <QIcon>
#include <cstdlib>
#include <string>
#include <sysexits.h>

#include "app/controller/app_state.h"
#include "app/controller/qt_scheduler.h"
#include "app/shell/brindlemux_app.h"
#include "app/shell/main_window.h"
#include "app/shell/process_setup.h"
#include "app/shell/process_signals.h"
#include "app/shell/route_report.h"
#include "app/shell/single_instance.h"
#include "app/shell/user_defaults.h"
#include "model/clock.h"
#include "model/file_locations.h"
#include "model/graph_store.h"
#include "model/system_log.h"
#include "model/uuid.h"
#include "platform/discovery.h"
#include "platform/pipewire/pipewire_audio_hardware.h"

int main(int argc, char* argv[]) {
  using namespace brindlemux;

  // First of all, before anything can start a thread.
  // A session that ends may send SIGHUP right behind SIGTERM.
  ProcessSignals terminations({SIGTERM, SIGINT, SIGHUP});
  ProcessSignals reports({SIGUSR1});
  allowManyFiles();
  returnLargeBlocks();

  QCoreApplication::setOrganizationName(QStringLiteral("Brindlemux"));
  QCoreApplication::setApplicationName(QStringLiteral("Brindlemux"));
  QGuiApplication::setDesktopFileName(QStringLiteral("com.brindlemux.Brindlemux"));
  // X11 has no application identifier; there the window's class tells which desktop entry it belongs to.
  qputenv("RESOURCE_NAME", "com.brindlemux.Brindlemux");
  MainWindow::chooseStyle();
  QGuiApplication application(argc, argv);
  QGuiApplication::setWindowIcon(QIcon(QStringLiteral(":/brindlemux/icons/com.brindlemux.Brindlemux.svg")));

  // Each borrows from those above it and goes before them: the window, the controller with its engines, the hardware.
  StandardErrorLog log;
  SystemClock clock;
  RandomUUIDSource uuids;
  UserFileLocations locations;
  GraphStore graphStore(locations, clock, log);
  SingleInstance instance(graphStore.fileURL(), log);
  switch (instance.claim()) {
    case SingleInstance::Standing::alone:
      break;
    case SingleInstance::Standing::handedOver:
      return EXIT_SUCCESS;
    case SingleInstance::Standing::unreachable:
      log.write("Brindlemux: it is running already, and its window cannot be reached");
      return EX_UNAVAILABLE;
  }
  QtScheduler scheduler;
  PipeWireAudioHardware hardware;
  Discovery discovery(hardware, hardware.runningApplications());
  AppState state({.engine = {.hardware = hardware, .discovery = discovery, .clock = clock, .uuids = uuids},
                  .graphStore = graphStore,
                  .scheduler = scheduler});
  QObject::connect(&application, &QCoreApplication::aboutToQuit, &state, &AppState::shutdown);

  UserDefaults defaults;
  BrindlemuxApp app(state, defaults, scheduler, QDBusConnection::sessionBus());
  QObject::connect(&terminations, &ProcessSignals::received, &app, &BrindlemuxApp::quit);
  terminations.listen();
  QObject::connect(&reports, &ProcessSignals::received, &app, [&] {
    for (const std::string& line : routeReport(state)) log.write(line);
  });
  reports.listen();
  if (!app.openWindow()) {
    log.write("Brindlemux: the window could not be made");
    state.shutdown();
    return EXIT_FAILURE;
  }
  QObject::connect(&instance, &SingleInstance::windowWanted, &app, &BrindlemuxApp::openWindow);
  return QGuiApplication::exec();
}
