// The main of a benchmark of the real display, drawn without a screen.
#pragma once

#include <QApplication>
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "port/common/thread_queues.h"
#include "port/linux/linux_clock.h"
#include "qt/device.h"

namespace quillet::qt {

// The offscreen platform has something to say of every window.
inline void HandleToolkitMessage(QtMsgType type, const QMessageLogContext& /*context*/,
                                 const QString& text) {
  if (type == QtFatalMsg) std::fprintf(stderr, "%s\n", qPrintable(text));
}

// Runs Bench(device, rounds), beside the display; the first argument is the number of rounds. The
// exit status is 1 when it missed a target.
template <class Bench>
int RunOnDisplay(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  qInstallMessageHandler(HandleToolkitMessage);
  QApplication::setStyle(QStringLiteral("Fusion"));
  const QApplication application(argc, argv);
  port::LinuxClock clock;
  port::ThreadQueues queues(clock);
  QtDevice device(queues);
  const int rounds = argc > 1 ? std::max(std::atoi(argv[1]), 1) : 9;
  return device.Run([&] { return Bench(device, rounds).Run() ? 0 : 1; });
}

}  // namespace quillet::qt
