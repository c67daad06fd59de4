// Trial of the thread arrangement: a display thread that owns every widget, a program thread that
// hands it work, a progress thread that owns the progress dialog. Prints medians and p99.
#include <sys/socket.h>
#include <unistd.h>

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "port/common/thread_queues.h"
#include "qt/job_queue.h"

namespace {

using quillet::port::Message;
using quillet::port::MessageKind;
using quillet::port::WindowHandle;
using Instant = std::chrono::steady_clock::time_point;

constexpr int kCalls = 20000;
constexpr int kRuns = 200;
constexpr int kCancels = 50;

Instant Now() {
  return std::chrono::steady_clock::now();
}

double MicrosecondsSince(Instant start) {
  return std::chrono::duration<double, std::micro>(Now() - start).count();
}

class SteadyClock final : public quillet::port::Clock {
 public:
  quillet::port::CalendarTime LocalTime() override { return {}; }
  quillet::port::CalendarTime UtcTime() override { return {}; }
  std::uint64_t Ticks() override {
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Now().time_since_epoch()).count());
  }
  void Sleep(std::uint32_t milliseconds) override {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
  }
};

void Print(const char* what, std::vector<double> samples) {
  std::sort(samples.begin(), samples.end());
  const auto at = [&](double part) {
    return samples[static_cast<std::size_t>(part * static_cast<double>(samples.size() - 1))];
  };
  std::printf("%-44s %10.1f %10.1f %8zu\n", what, at(0.5), at(0.99), samples.size());
}

struct ProgressDialog {
  QDialog dialog;
  QVBoxLayout layout{&dialog};
  QLabel title, detail;
  QProgressBar bar;
  QPushButton cancel{QStringLiteral("&Cancel")};
  ProgressDialog() {
    for (QWidget* widget : std::initializer_list<QWidget*>{&title, &bar, &detail, &cancel}) {
      layout.addWidget(widget);
    }
  }
};

// What the three threads share.
struct Trial {
  quillet::qt::JobQueue& jobs;
  quillet::port::ThreadQueues& queues;
  std::unique_ptr<ProgressDialog> widgets{};  // display thread
  std::atomic<WindowHandle> dialog{0};
  std::atomic<bool> abort{false};
  Instant pressed{};
  std::vector<double> cancel_times{};
  std::function<void()> on_aborting{};
};

void ShowAborting(Trial& trial) {
  trial.jobs.Call([&] {
    trial.widgets->cancel.hide();
    trial.widgets->detail.setText(QStringLiteral("Aborting; please wait."));
    trial.widgets->dialog.repaint();  // visible once painted
    trial.cancel_times.push_back(MicrosecondsSince(trial.pressed));
  });
}

void ProgressThread(Trial& trial) {
  const WindowHandle dialog = trial.queues.AddWindow();
  trial.jobs.Call([&] {
    trial.widgets = std::make_unique<ProgressDialog>();
    QObject::connect(&trial.widgets->cancel, &QPushButton::clicked, [&trial, dialog] {
      trial.queues.Post({dialog, MessageKind::kCommand, 2, 0, {}});
    });
    trial.widgets->dialog.show();
  });
  trial.dialog = dialog;
  trial.dialog.notify_all();
  Message message;
  while (trial.queues.Get(message)) {
    if (message.kind == MessageKind::kCommand && !trial.abort.exchange(true)) {
      ShowAborting(trial);
      if (trial.on_aborting) trial.on_aborting();
    }
    if (message.kind == MessageKind::kClose) {
      trial.jobs.Call([&] { trial.widgets.reset(); });
      trial.queues.RemoveWindow(dialog);
      trial.queues.PostQuit(0);
    }
  }
  trial.dialog = 0;
  trial.dialog.notify_all();
}

void RunUnderDialog(Trial& trial, const std::function<void()>& operation) {
  trial.abort = false;
  std::thread progress([&] { ProgressThread(trial); });
  trial.dialog.wait(0);
  operation();
  trial.queues.Post({trial.dialog, MessageKind::kClose, 0, 0, {}});
  for (WindowHandle up = trial.dialog; up != 0; up = trial.dialog) trial.dialog.wait(up);
  progress.join();
}

void MeasureCalls(Trial& trial) {
  std::vector<double> calls;
  for (int i = 0; i < kCalls; ++i) {
    const Instant start = Now();
    trial.jobs.Call([] {});
    calls.push_back(MicrosecondsSince(start));
  }
  Print("one port call", calls);
}

void MeasureRuns(Trial& trial) {
  std::vector<double> runs;
  for (int i = 0; i < kRuns; ++i) {
    const Instant start = Now();
    RunUnderDialog(trial, [] {});
    runs.push_back(MicrosecondsSince(start));
  }
  Print("empty long operation with its dialog", runs);
}

// The program thread sits in recv on a silent socket; the dialog's answer to Cancel must not wait
// for it.
void MeasureCancel(Trial& trial) {
  std::array<int, 2> pair{};
  if (socketpair(AF_UNIX, SOCK_STREAM, 0, pair.data()) != 0) return;
  trial.on_aborting = [&] { [[maybe_unused]] const auto n = ::write(pair[1], "x", 1); };
  for (int i = 0; i < kCancels; ++i) {
    RunUnderDialog(trial, [&] {
      trial.jobs.Post([&] {
        QTimer::singleShot(5, [&] {
          trial.pressed = Now();
          trial.widgets->cancel.click();
        });
      });
      char byte = 0;
      [[maybe_unused]] const auto n = ::recv(pair[0], &byte, 1, 0);
    });
  }
  trial.on_aborting = nullptr;
  ::close(pair[0]);
  ::close(pair[1]);
  Print("Cancel press to visible text, recv blocked", trial.cancel_times);
}

}  // namespace

int main(int argc, char** argv) {
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  const QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  SteadyClock clock;
  quillet::port::ThreadQueues queues(clock);
  quillet::qt::JobQueue jobs;
  Trial trial{jobs, queues};
  std::printf("%-44s %10s %10s %8s\n", "microseconds", "median", "p99", "samples");
  std::thread program([&] {
    MeasureCalls(trial);
    MeasureRuns(trial);
    MeasureCancel(trial);
    jobs.Post([] { QApplication::quit(); });
  });
  const int result = QApplication::exec();
  jobs.Close();
  program.join();
  return result;
}
