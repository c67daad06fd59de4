// SPDX-License-Identifier: GPL-3.0-or-later
// Trial of the thread arrangement: the display thread that owns every widget, the program thread
// that hands it work, the progress thread that owns the progress dialog. Prints medians and p99.
#include <sys/socket.h>
#include <unistd.h>

#include <QAbstractButton>
#include <QApplication>
#include <QLabel>
#include <QTimer>
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <vector>

#include "base/long_operation.h"
#include "base/messages.h"
#include "port/fake/fake_platform.h"
#include "port/linux/linux_clock.h"
#include "qt/device.h"
#include "qt/forms.h"
#include "res/resource.h"

namespace {

using Instant = std::chrono::steady_clock::time_point;

constexpr int kCalls = 20000;
constexpr int kRuns = 500;
constexpr int kCancels = 50;

Instant Now() {
  return std::chrono::steady_clock::now();
}

double MicrosecondsSince(Instant start) {
  return std::chrono::duration<double, std::micro>(Now() - start).count();
}

void Print(const char* what, std::vector<double> samples) {
  std::sort(samples.begin(), samples.end());
  const auto at = [&](double part) {
    return samples[static_cast<std::size_t>(part * static_cast<double>(samples.size() - 1))];
  };
  std::printf("%-44s %10.1f %10.1f %8zu\n", what, at(0.5), at(0.99), samples.size());
}

// Notes the moment at which the dialog has drawn that Cancel was heard.
class PaintWatcher final : public QObject {
 public:
  std::function<void()> seen;

  bool eventFilter(QObject* watched, QEvent* event) override {
    auto* label = qobject_cast<QLabel*>(watched);
    if (event->type() == QEvent::Paint && label != nullptr && seen &&
        label->text() == QLatin1String("Aborting; please wait.")) {
      std::exchange(seen, nullptr)();
    }
    return false;
  }
};

void MeasureCalls(quillet::qt::QtDevice& device) {
  std::vector<double> calls;
  for (int i = 0; i < kCalls; ++i) {
    const Instant start = Now();
    device.windows().SelectedTab();
    calls.push_back(MicrosecondsSince(start));
  }
  Print("one port call", calls);
}

void MeasureRuns() {
  std::vector<double> runs;
  for (int i = 0; i < kRuns; ++i) {
    const Instant start = Now();
    quillet::RunWithProgress(u"Threading...", [] { return 1; });
    runs.push_back(MicrosecondsSince(start));
  }
  Print("RunWithProgress around nothing", runs);
}

// The program thread sits in recv on a silent socket; the dialog's answer to Cancel must not wait
// for it.
void MeasureCancel(quillet::qt::QtDevice& device, PaintWatcher& watcher) {
  std::array<int, 2> pair{};
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, pair.data()) != 0) return;
  std::vector<double> times;
  const auto press = [&](QAbstractButton* cancel) {
    watcher.seen = [&, pressed = Now()] {
      times.push_back(MicrosecondsSince(pressed));
      [[maybe_unused]] const auto written = ::write(pair[1], "x", 1);
    };
    cancel->click();
  };
  for (int i = 0; i < kCancels; ++i) {
    quillet::RunWithProgress(u"Threading...", [&] {
      device.jobs().Call([&] {
        QWidget* dialog = device.display().WidgetOf(quillet::gProgressDialog);
        quillet::qt::ControlOf(*dialog, quillet::kControlProgressDetail)
            ->installEventFilter(&watcher);
        auto* cancel = qobject_cast<QAbstractButton*>(
            quillet::qt::ControlOf(*dialog, quillet::kControlCancel));
        auto* timer = new QTimer(cancel);
        timer->setSingleShot(true);
        QObject::connect(timer, &QTimer::timeout, cancel, [&press, cancel] { press(cancel); });
        timer->start(60);
      });
      char byte = 0;
      return static_cast<int>(::recv(pair[0], &byte, 1, 0));
    });
  }
  ::close(pair[0]);
  ::close(pair[1]);
  Print("Cancel press to visible text, recv blocked", times);
}

int Trial(quillet::qt::QtDevice& device, PaintWatcher& watcher) {
  std::printf("%-44s %10s %10s %8s\n", "microseconds", "median", "p99", "samples");
  quillet::gMainWindow =
      device.windows().CreateMainWindow({u"Quillet CE", u"Quillet CE", 103, {640, 480}});
  device.windows().ShowMainWindow();
  device.windows().CreateTabs(quillet::port::TabPlacement::kBottom);
  MeasureCalls(device);
  MeasureRuns();
  MeasureCancel(device, watcher);
  device.windows().DestroyMainWindow();
  return 0;
}

// The offscreen platform has something to say of every window.
void HandleToolkitMessage(QtMsgType type, const QMessageLogContext& /*context*/,
                          const QString& text) {
  if (type == QtFatalMsg) std::fprintf(stderr, "%s\n", qPrintable(text));
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  qInstallMessageHandler(HandleToolkitMessage);
  const QApplication application(argc, argv);
  quillet::port::FakePlatform fake;  // what is not the display
  quillet::port::LinuxClock clock;
  quillet::port::ThreadQueues queues(clock);
  quillet::qt::QtDevice device(queues);
  quillet::port::Platform platform{device.Services(), queues,       fake.registry, fake.sockets,
                                   fake.libraries,    fake.files,   clock,         fake.shell,
                                   fake.scheduler,    fake.dialler, fake.mail,     fake.contacts,
                                   fake.security,     fake.secrets};
  quillet::gPlatform = &platform;
  PaintWatcher watcher;
  const int result = device.Run([&] { return Trial(device, watcher); });
  quillet::gPlatform = &fake.platform;
  return result;
}
