#include "app/shell/onboarding_steps.h"

namespace brindlemux {
namespace {

QList<OnboardingStep> allSteps() {
  return {
      {.icon = QStringLiteral("waveform.circle.fill"),
       .title = QStringLiteral("Welcome to Brindlemux"),
       .body =
           QStringLiteral("Route any audio on your Mac — capture apps, your mic, or system sound and send it anywhere "
                          "with a simple visual graph.")},
      {.icon = QStringLiteral("plus.rectangle.on.rectangle.fill"),
       .title = QStringLiteral("Create a virtual device"),
       .body = QStringLiteral("A virtual device shows up like any normal audio device, so any app — Zoom, OBS, Logic — "
                              "can record from it. Add one from the sidebar.")},
      {.icon = QStringLiteral("app.badge.fill"),
       .title = QStringLiteral("Add sources"),
       .body =
           QStringLiteral("Add an app, your microphone, or full system audio as a source. Then drag from its ports to "
                          "the output channels to route it.")},
      {.icon = QStringLiteral("hifispeaker.2.fill"),
       .title = QStringLiteral("Monitor live"),
       .body = QStringLiteral("Add a monitor (your speakers or interface) and connect the output channels to hear "
                              "everything live — with near-zero latency.")},
  };
}

}  // namespace

OnboardingSteps::OnboardingSteps(QObject* parent) : QObject(parent), list_(allSteps()) {}

}  // namespace brindlemux
