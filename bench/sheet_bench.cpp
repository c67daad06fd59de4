// SPDX-License-Identifier: GPL-3.0-or-later
// The preferences from the command to the painted sheet, and from one page to the next: the whole
// program in its real window, drawn into memory. Painted is what the program has written by then,
// too.
//
// usage: sheet_bench [ROUNDS]; ends with 1 when a median is above its target.
#include <stdlib.h>

#include <QApplication>
#include <QStyleFactory>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/subscriptions.h"
#include "bench/on_display.h"
#include "port/fake/fake_display.h"
#include "qt/program.h"
#include "qt/sheet_dialog.h"
#include "res/resource.h"

namespace quillet {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kOpenMs = 150;
constexpr double kPageMs = 30;
constexpr int kPages = 17;
constexpr int kWaitMs = 20000;

[[noreturn]] void Fail(const char* what) {
  std::fprintf(stderr, "sheet_bench: %s\n", what);
  std::_Exit(2);
}

// A profile with a server, so that nothing is asked at the start.
void MakeProfile(port::LinuxServices& services) {
  port::FakeDisplay display(services.queues);
  services.Attach(display.Services());
  ReadPreferences();
  AddGroup(*gPrefs, u"bench.group");
  AddServer(*gPrefs, {u"news.example"});
  WritePreferences();
  services.Detach();
}

// Somebody who looks through the preferences, beside the program and the display.
class Visitor {
 public:
  Visitor(qt::QtDevice& device, port::ThreadQueues& queues, int rounds)
      : device_(device), queues_(queues), times_(rounds) {}

  bool Run() {
    Wait("no window", [&] {
      const auto& main = device_.display().main;
      if (main) main_ = main->Handle();
      return main && main->isVisible() && main->GroupList() != nullptr;
    });
    Idle();
    times_.Measure(
        "preferences, from the command to painted", kOpenMs, [&] { Close(); }, [&] { Open(); });
    for (int page = 0; page < kPages; ++page) {
      times_.Measure(
          "  to page " + std::to_string(page + 1) + ", its first time", kPageMs,
          [&] {
            Close();
            Open();
            Turn(page == 0 ? kPages - 1 : 0);
          },
          [&] { Turn(page); });
    }
    Close();
    queues_.Post({main_, port::MessageKind::kClose, 0, 0, {}});
    return times_.good();
  }

 private:
  // Display thread.
  qt::SheetDialog* Sheet() const {
    for (const auto& [handle, widget] : device_.display().windows) {
      if (auto* sheet = dynamic_cast<qt::SheetDialog*>(widget.data())) return sheet;
    }
    return nullptr;
  }
  // Where connections cannot be listed a box says so.
  void Idle() {
    while (!queues_.WaitIdle(device_.ProgramThread(), 1)) {
      device_.jobs().Call([&] {
        for (QMessageBox* box : device_.boxes().OpenBoxes()) box->reject();
      });
    }
  }
  void Wait(const char* what, const std::function<bool()>& condition) {
    const auto start = Clock::now();
    for (bool holds = false; !holds;) {
      device_.jobs().Call([&] { holds = condition(); });
      if (Clock::now() - start > std::chrono::milliseconds(kWaitMs)) Fail(what);
      if (!holds) std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
  }
  void Paint() {
    Idle();
    device_.jobs().Call([&] {
      QCoreApplication::sendPostedEvents();
      Sheet()->repaint();
    });
  }
  void Open() {
    queues_.Post({main_, port::MessageKind::kCommand, kCommandPreferences, 0, {}});
    Wait("no sheet", [&] { return Sheet() != nullptr && Sheet()->isVisible(); });
    Paint();
  }
  void Close() {
    device_.jobs().Call([&] {
      if (Sheet() != nullptr) Sheet()->reject();
    });
    Wait("the sheet stays", [&] { return Sheet() == nullptr; });
    Idle();
  }
  void Turn(int page) {
    device_.jobs().Call([&] { Sheet()->ShowPage(page); });
    Paint();
  }

  qt::QtDevice& device_;
  port::ThreadQueues& queues_;
  qt::MedianTimes times_;
  port::WindowHandle main_ = 0;
};

int Main(int rounds, int argc, char** argv) {
  char name[] = "/tmp/quillet-sheet-XXXXXX";
  if (mkdtemp(name) == nullptr) return 2;
  const port::Profile profile = port::LocateProfile(name);
  if (!port::PrepareProfile(profile).empty()) return 2;
  bool good = false;
  {
    port::LinuxServices services(profile, u"", port::OwnExecutable());
    MakeProfile(services);
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler(qt::HandleToolkitMessage);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    const QApplication application(argc, argv);
    qt::QtDevice device(services.queues);
    std::thread thread([&] { good = Visitor(device, services.queues, rounds).Run(); });
    qt::RunQuilletOn(device, services);
    thread.join();
  }
  std::filesystem::remove_all(name);
  return good ? 0 : 1;
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 9;
  return quillet::Main(std::max(rounds, 1), argc, argv);
}
