// SPDX-License-Identifier: GPL-3.0-or-later
// The main of a benchmark of the real display, drawn without a screen.
#pragma once

#include <QApplication>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "port/common/thread_queues.h"
#include "port/linux/linux_clock.h"
#include "qt/device.h"

namespace quillet::qt {

// The offscreen platform has something to say of every window.
inline void HandleToolkitMessage(QtMsgType type, const QMessageLogContext& /*context*/,
                                 const QString& text) {
  if (type == QtFatalMsg) std::fprintf(stderr, "%s\n", qPrintable(text));
}

// Steps measured again and again, each against its target.
class MedianTimes {
 public:
  explicit MedianTimes(int rounds) : rounds_(rounds) {}

  // The median of the step; `before` is not counted.
  template <class Before, class Step>
  void Measure(const std::string& what, double target, const Before& before, const Step& step) {
    std::vector<double> times;
    for (int i = 0; i < rounds_; ++i) {
      before();
      const auto start = std::chrono::steady_clock::now();
      step();
      const std::chrono::duration<double, std::milli> time =
          std::chrono::steady_clock::now() - start;
      times.push_back(time.count());
    }
    std::sort(times.begin(), times.end());
    const double median = times[times.size() / 2];
    good_ = good_ && median <= target;
    std::printf("%-56s %7.1f ms, longest %7.1f ms (target %.0f ms)\n", what.c_str(), median,
                times.back(), target);
  }
  // False once a median was above its target.
  bool good() const { return good_; }

 private:
  const int rounds_;
  bool good_ = true;
};

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
