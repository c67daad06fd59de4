// SPDX-License-Identifier: GPL-3.0-or-later
// The whole program on a thread of its own, as on a device; the test is the user.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "app/open_prefs.h"
#include "app/startup.h"
#include "base/multi_string.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/fake/fake_platform.h"
#include "store/counts.h"
#include "store/databases.h"
#include "util/little_endian.h"
#include "util/text.h"

namespace quillet {

class Program : public testing::Test {
 protected:
  // Without a server the program would begin by asking for one.
  Program() { SetServers({u"news.example.org"}); }
  ~Program() override {
    if (thread_.joinable()) End();
    fake_.display.Verify();
    fake_.sockets.Verify();
    ResetProgram();
  }

  void Start() {
    thread_ = std::thread([this] { code_ = RunQuillet(); });
    id_ = thread_.get_id();
  }
  void StartAndWait() {
    Start();
    WaitIdle();
  }
  void WaitIdle() { ASSERT_TRUE(fake_.queues.WaitIdle(id_, 10000)); }
  // Closes the window and waits for the end.
  void End() {
    fake_.display.CloseMainWindow();
    Join();
  }
  void Join() {
    thread_.join();
    EXPECT_EQ(code_, 0);
  }
  // Runs on the program thread, between two messages.
  void OnProgramThread(std::function<void()> act) {
    fake_.queues.PostCall(id_, std::move(act));
    WaitIdle();
  }
  void Apply(const std::function<void(Prefs&)>& change) {
    OnProgramThread([change] {
      auto edited = CopyPrefs(*gPrefs);
      change(*edited);
      ApplyPrefsChanges(std::move(edited));
    });
  }
  void Command(std::uint32_t id) {
    fake_.display.SendCommand(id);
    WaitIdle();
  }
  void Tab(int tab) {
    EXPECT_TRUE(fake_.display.UserSelectTab(tab));
    WaitIdle();
  }
  void Key(std::uint32_t key, std::uint32_t modifiers = 0) {
    fake_.display.PressKey(key, modifiers);
    WaitIdle();
  }

  // The store as the run has left it.
  static void OpenStoreAgain() {
    gDatabaseFolder = u"\\Quillet CE News";
    ASSERT_TRUE(OpenGDBMDatabases());
  }

  void SetDword(std::u16string_view name, std::uint32_t value) {
    std::string data;
    AppendU32(data, value);
    fake_.registry.Create(kRegistryPath)->Set(name, port::RegistryType::kDword, data);
  }
  void SetList(std::u16string_view name, const std::vector<std::u16string>& list) {
    fake_.registry.Create(kRegistryPath)
        ->Set(name, port::RegistryType::kMultiString, CreateMultiString(list));
  }
  void SetGroups(const std::vector<std::u16string>& groups) {
    SetDword(u"numgroups", static_cast<std::uint32_t>(groups.size()));
    SetList(u"groups", groups);
  }
  void SetServers(const std::vector<std::u16string>& servers) {
    SetDword(u"numservers", static_cast<std::uint32_t>(servers.size()));
    SetList(u"servers", servers);
  }
  void SetNumbers(std::u16string_view name, const std::vector<std::uint32_t>& numbers) {
    std::string data;
    for (const std::uint32_t number : numbers) AppendU32(data, number);
    fake_.registry.Create(kRegistryPath)->Set(name, port::RegistryType::kBinary, data);
  }
  std::uint32_t Dword(std::u16string_view name) {
    const auto value = fake_.registry.Create(kRegistryPath)->Get(name);
    return value && value->data.size() == 4 ? GetU32(value->data, 0) : 0xDEADBEEF;
  }
  std::string Bytes(std::u16string_view name) {
    const auto value = fake_.registry.Create(kRegistryPath)->Get(name);
    return value ? value->data : "missing";
  }

  port::FakePlatform fake_;
  std::thread thread_;
  std::thread::id id_;
  int code_ = -1;
};

}  // namespace quillet
