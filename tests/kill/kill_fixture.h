// SPDX-License-Identifier: GPL-3.0-or-later
// A store in a folder of its own, and children that work on it and may die at any call.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/fake/fake_platform.h"
#include "store/compression.h"
#include "store/databases.h"
#include "tests/kill/deeds.h"
#include "tests/kill/expected_store.h"
#include "tests/kill/store_reader.h"
#include "tests/kill/store_writer.h"

namespace quillet {

class KillTest : public ::testing::Test {
 protected:
  KillTest() {
    SetKillPreferences(false);
    fake.files.CreateFolder(gDatabaseFolder);
    folder = fake.files.NativePath(gDatabaseFolder);
    EXPECT_TRUE(LoadDatabaseLibrary());
    LoadCompressionLibrary();
  }
  ~KillTest() override { ResetProgram(); }

  // How a child ended: kChildDone, another status, or less than 0 when a signal ended it.
  int Child(const std::function<void()>& work) {
    log.complaint[0] = '\0';
    const pid_t child = fork();
    if (child == 0) {
      work();
      _exit(kChildDone);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
  }

  // Carries the deeds out in a child; `expected` follows what it told.
  int CarryOutInChild(const DeedPlan& plan) {
    ClearLog(log);
    const int end = Child([&] { CarryOut(fake, log, expected, plan); });
    for (std::uint32_t i = 0; i < log.count; ++i) expected.Apply(log.entries[i]);
    return end;
  }

  void OpenAndLook(const std::string& when) {
    ASSERT_EQ(Child([this] { OpenAndClose(fake, log); }), kChildDone) << when << log.complaint;
    const FoundStore found = ReadStore(folder);
    EXPECT_EQ(expected.Differences(found, false), std::vector<std::string>{}) << when;
    expected.Settle(found);
    if (found.lost.empty()) return;
    for (const auto& [id, groups] : found.lost) {
      const auto number = static_cast<std::uint32_t>(std::strtoul(id.c_str() + 1, nullptr, 10));
      const auto article = expected.articles().find(number);
      if (article == expected.articles().end()) continue;
      expected.Apply({Deed::kStore, article->second.group, true, number});
    }
    ASSERT_EQ(Child([this] { FetchLostArticles(fake, log, expected); }), kChildDone)
        << when << log.complaint;
    EXPECT_EQ(expected.Differences(ReadStore(folder), true), std::vector<std::string>{}) << when;
  }

  // The store as it is now is kept, and put back as often as it is needed.
  struct Kept {
    std::filesystem::path folder;
    ExpectedStore expected;
  };
  Kept Keep() {
    const std::filesystem::path place = folder + " kept " + std::to_string(++kept_);
    std::filesystem::copy(folder, place);
    return {place, expected};
  }
  void PutBack(const Kept& kept) {
    std::filesystem::remove_all(folder);
    std::filesystem::copy(kept.folder, folder);
    expected = kept.expected;
  }

  port::FakePlatform fake;
  DeedLog& log = SharedLog();
  ExpectedStore expected{true};
  std::string folder;

 private:
  int kept_ = 0;
};

}  // namespace quillet
