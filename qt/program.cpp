// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/program.h"

#include <QApplication>
#include <QSessionManager>
#include <atomic>
#include <chrono>
#include <cstdlib>

#include "app/startup.h"
#include "base/messages.h"
#include "util/version.h"

namespace quillet::qt {
namespace {

// Time the program has for its last writes at the end of a session.
constexpr int kSessionEndMs = 5000;
// The same when nobody waits for it.
constexpr std::chrono::seconds kDisplayLostLimit(60);
constexpr int kExitDisplayLost = 1;

// The desktop may end this process as soon as the answer is given: not before all is saved.
void EndSession(QtDevice& device, port::LinuxServices& services) {
  services.EndSession();
  device.WaitForProgram(kSessionEndMs);
}

// The run that the end of the process would cut short.
struct Run {
  QtDevice& device;
  port::LinuxServices& services;
};
std::atomic<Run*> gRun = nullptr;

// When the connection to the display breaks, the toolkit ends the process from inside its event
// loop. That is an end of the session: the program thread still lives and saves everything. Then
// without the rest of the clean-up, which would take the toolkit apart below its own feet.
void SaveAtExit() {
  Run* run = gRun.exchange(nullptr);
  if (run == nullptr) return;  // an ordinary end
  run->services.EndSession();
  run->device.EndWithoutDisplay(kDisplayLostLimit);
  std::_Exit(kExitDisplayLost);
}

void SaveWhenTheProcessEnds(Run* run) {
  static const bool kRegistered = std::atexit(SaveAtExit) == 0;
  if (kRegistered) gRun = run;
}

}  // namespace

// No display name: the toolkit would append it to every window title.
void NameApplication() {
  QApplication::setApplicationName(QStringLiteral("quillet"));
  QApplication::setApplicationVersion(
      QString::fromLatin1(kVersionText.data(), static_cast<qsizetype>(kVersionText.size())));
  QApplication::setDesktopFileName(QStringLiteral("quillet"));
}

QString DisplayProblem() {
  if (!qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) return {};
  if (!qEnvironmentVariableIsEmpty("DISPLAY")) return {};
  if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) return {};
  return QStringLiteral("there is no display (DISPLAY and WAYLAND_DISPLAY are not set)");
}

int RunQuilletOn(QtDevice& device, port::LinuxServices& services) {
  services.Attach(device.Services());
  services.SetOnEndSession([&device] {
    BeginSessionEnd();
    device.AnswerAll();
  });
  const auto session = QObject::connect(
      qApp, &QGuiApplication::commitDataRequest, qApp,
      [&](QSessionManager& /*manager*/) { EndSession(device, services); }, Qt::DirectConnection);
  Run run{device, services};
  SaveWhenTheProcessEnds(&run);
  const int result = device.Run(RunQuillet);
  gRun = nullptr;
  QObject::disconnect(session);
  services.SetOnEndSession({});
  services.Detach();
  return result;
}

}  // namespace quillet::qt
