#include "qt/program.h"

#include <QApplication>
#include <QSessionManager>

#include "app/startup.h"
#include "base/messages.h"
#include "util/version.h"

namespace quillet::qt {
namespace {

// Time the program has for its last writes at the end of a session.
constexpr int kSessionEndMs = 5000;

// The desktop may end this process as soon as the answer is given: not before all is saved.
void EndSession(QtDevice& device, port::LinuxServices& services) {
  services.EndSession();
  device.WaitForProgram(kSessionEndMs);
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
  const int result = device.Run(RunQuillet);
  QObject::disconnect(session);
  services.SetOnEndSession({});
  services.Detach();
  return result;
}

}  // namespace quillet::qt
