// SPDX-License-Identifier: GPL-3.0-or-later
// What every test of the store stands on: the in-memory device, preferences with three groups, and
// open databases in a folder of their own.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/app_messages.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/fake/fake_platform.h"
#include "store/chains.h"
#include "store/compression.h"
#include "store/counts.h"
#include "store/database_files.h"
#include "store/databases.h"
#include "store/gdbm_library.h"
#include "store/records.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {

inline constexpr DatabaseIndex kArticles = DatabaseIndex::kArticles;
inline constexpr DatabaseIndex kNewsgroups = DatabaseIndex::kNewsgroups;
inline constexpr DatabaseIndex kPosts = DatabaseIndex::kPendingPosts;

// "01 00 ff" as bytes.
inline std::string Bytes(std::string_view hex) {
  std::string bytes;
  for (std::size_t i = 0; i < hex.size();) {
    if (hex[i] == ' ' || hex[i] == '\n') {
      ++i;
      continue;
    }
    bytes.push_back(static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
    i += 2;
  }
  return bytes;
}

// A literal with its NULs.
template <std::size_t kLength>
std::string Raw(const char (&text)[kLength]) {
  return std::string(text, kLength - 1);
}

inline AsciiArticle ArticleWithId(std::string_view id, std::string_view body = "text\r\n") {
  AsciiArticle article;
  article.messageId = id;
  article.body = body;
  article.subject = "s";
  return article;
}

class StoreTest : public ::testing::Test {
 protected:
  StoreTest() {
    gPrefs = std::make_unique<Prefs>();
    gPrefs->numgroups = 3;
    gPrefs->groups = {u"comp.lang.misc", u"alt.test", u"de.test"};
    gPrefs->checked = {1, 1, 1};
    gPrefs->maxstore = 98;
    gDatabaseFolder = u"\\Quillet CE News";
    fake.files.CreateFolder(gDatabaseFolder);
  }

  ~StoreTest() override {
    CloseDatabases();
    ResetProgram();
  }

  void OpenStore() {
    ASSERT_TRUE(LoadDatabaseLibrary());
    ASSERT_TRUE(OpenGDBMDatabases());
  }

  void CreateWindow() {
    gMainWindow = fake.display.CreateMainWindow({u"Quillet CE", u"t", 103, {240, 320}});
    fake.display.CreateTabs(port::TabPlacement::kBottom);
  }

  // The marks of the groups.
  static void CheckGroups(std::vector<std::uint32_t> marks) { gPrefs->checked = std::move(marks); }

  // The ids of the program's own messages that wait for the main window.
  std::vector<std::uint32_t> PostedToMainWindow() {
    std::vector<std::uint32_t> ids;
    fake.HandleWaiting([&](const port::Message& message) {
      if (message.kind == port::MessageKind::kUser) ids.push_back(message.id);
    });
    return ids;
  }

  static void Add(std::u16string_view group, std::string_view id, bool read = false) {
    AsciiArticle article = ArticleWithId(id);
    article.read = read ? 1 : 0;
    ASSERT_TRUE(StoreArticle(article));
    ASSERT_TRUE(AddArticleToGroup(group, id));
  }

  // The Message-IDs on a group's chain, newest first.
  static std::vector<std::string> Chain(std::u16string_view group) {
    std::vector<std::string> ids;
    for (auto record = GroupChainFirst(group); record; record = GroupChainNext()) {
      ids.push_back(record->messageId);
    }
    return ids;
  }

  // The stored record under a chain number or a group's key.
  static GDBMGroup Stored(const std::string& key) {
    GDBMGroup group;
    const auto value = FetchValue(kNewsgroups, key);
    EXPECT_TRUE(value && ParseGroup(*value, group));
    return group;
  }
  static GDBMGroup StoredChain(std::uint32_t number) {
    return Stored({static_cast<char>(number), 0, 0, 0});
  }

  std::vector<std::u16string> BoxTexts() {
    std::vector<std::u16string> texts;
    for (const auto& box : fake.display.boxes()) texts.push_back(box.text);
    return texts;
  }

  bool FileThere(std::u16string_view name) {
    return fake.files.FileSize(gDatabaseFolder + u"\\" + std::u16string(name)).has_value();
  }

  port::FakePlatform fake;
};

}  // namespace quillet
