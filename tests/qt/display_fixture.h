// SPDX-License-Identifier: GPL-3.0-or-later
// Tests of the toolkit's display: the tests run on a thread of their own, which stands for the
// program thread, while main runs the display thread's event loop.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QPalette>
#include <QTest>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "port/common/thread_queues.h"
#include "port/linux/linux_clock.h"
#include "qt/device.h"

namespace quillet::qt {

// The queue of main's own, for work on the display thread outside a device.
extern JobQueue* gDisplayThread;

inline std::vector<port::Message> TakeMessages(port::ThreadQueues& queues) {
  constexpr std::uint32_t kEndMark = 0xE0D;
  const port::WindowHandle mark = queues.AddWindow();
  queues.Post({mark, port::MessageKind::kUser, kEndMark, 0, {}});
  std::vector<port::Message> messages;
  port::Message message;
  while (queues.Get(message) && message.window != mark) messages.push_back(message);
  queues.RemoveWindow(mark);
  return messages;
}

// The application's palette is dark while this lives. Display thread.
class DarkPalette {
 public:
  DarkPalette() {
    QPalette dark(QColor(0x20, 0x20, 0x20));
    dark.setColor(QPalette::Base, QColor(0x18, 0x18, 0x18));
    QApplication::setPalette(dark);
    QCoreApplication::processEvents();
  }
  DarkPalette(const DarkPalette&) = delete;
  DarkPalette& operator=(const DarkPalette&) = delete;
  ~DarkPalette() { QApplication::setPalette(light_); }

 private:
  const QPalette light_ = QApplication::palette();
};

// "kind id detail" of the messages of that kind.
inline std::vector<std::pair<std::uint32_t, std::uint32_t>> OfKind(
    const std::vector<port::Message>& messages, port::MessageKind kind) {
  std::vector<std::pair<std::uint32_t, std::uint32_t>> found;
  for (const port::Message& message : messages) {
    if (message.kind == kind) found.emplace_back(message.id, message.detail);
  }
  return found;
}

using Details = std::vector<std::pair<std::uint32_t, std::uint32_t>>;

class DisplayTest : public ::testing::Test {
 protected:
  DisplayTest() {
    gDisplayThread->Call([this] { device = std::make_unique<QtDevice>(queues); });
  }
  ~DisplayTest() override {
    gDisplayThread->Call([this] { device.reset(); });
  }

  // Runs on the display thread and waits.
  void OnDisplay(const std::function<void()>& action) { ASSERT_TRUE(device->jobs().Call(action)); }

  // Waits until the condition holds on the display thread.
  bool WaitOnDisplay(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (;;) {
      bool holds = false;
      device->jobs().Call([&] { holds = condition(); });
      if (holds || std::chrono::steady_clock::now() > end) return holds;
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }

  MainWindow& Main() { return *device->display().main; }
  GroupTable& List() { return *Main().GroupList(); }
  TabControl& Tabs() { return *Main().Tabs(); }

  // A shown main window with tabs and list, and no message left of all that.
  port::WindowHandle ShowWindow(port::TabPlacement placement = port::TabPlacement::kBottom,
                                port::Size size = {640, 480}) {
    const port::WindowHandle handle =
        device->windows().CreateMainWindow({u"Quillet CE", u"Quillet CE 1.14r3", 103, size});
    device->windows().ShowMainWindow();
    device->windows().CreateTabs(placement);
    const std::array<port::ListColumn, 2> columns{{{u"Newsgroup", 0, false}, {u"Unread", 0, true}}};
    device->group_list().Create(columns, u"", 4);
    OnDisplay([&] {
      Main().activateWindow();
      EXPECT_TRUE(QTest::qWaitForWindowActive(&Main()));
    });
    TakeMessages(queues);
    return handle;
  }

  void FillRows(int count) {
    std::vector<port::ListRow> rows;
    for (int i = 0; i < count; ++i) {
      std::u16string name = u"test.group.";
      for (const char digit : std::to_string(i)) name += static_cast<char16_t>(digit);
      rows.push_back({name, u"0/0", port::CheckState::kUnchecked});
    }
    device->group_list().Fill(std::move(rows), -1);
  }

  // A key that is pressed and released in the window that has the focus.
  void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    OnDisplay([&] {
      QWindow* window = QGuiApplication::focusWindow();
      ASSERT_NE(window, nullptr);
      QTest::keyClick(window, key, modifiers);
    });
  }

  port::LinuxClock clock;
  port::ThreadQueues queues{clock};
  std::unique_ptr<QtDevice> device;
};

}  // namespace quillet::qt
