// SPDX-License-Identifier: GPL-3.0-or-later
// What every test of the news client stands on: the in-memory device, preferences with one server
// and two groups, an open store, and short words for the transcript.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/extensions.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "base/subscriptions.h"
#include "nntp/connection.h"
#include "nntp/download.h"
#include "port/fake/fake_platform.h"
#include "port/fake/gtest_failures.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/databases.h"
#include "store/records.h"
#include "util/format.h"
#include "util/little_endian.h"
#include "util/text.h"

namespace quillet {

// news.example.org:119 with comp.lang.misc (index 0) and alt.test (index 1), both on the download
// list; transaction log kept; articles up to 4 k, at most 50 a group.
inline std::unique_ptr<Prefs> TestPrefs() {
  auto prefs = std::make_unique<Prefs>();
  AddServer(*prefs, {u"news.example.org"});
  AddGroup(*prefs, u"comp.lang.misc");
  AddGroup(*prefs, u"alt.test");
  prefs->maxarticlesize = 4;
  prefs->maxarticles = 50;
  prefs->maxstore = 98;
  prefs->downloadfull = 1;
  prefs->keepheaders = 1;
  prefs->keeptranslog = 1;
  prefs->conxmethod = u"<none>";
  prefs->databasefolder = u"\\Quillet CE News";
  return prefs;
}

class NntpTest : public ::testing::Test {
 protected:
  NntpTest() {
    gPrefs = TestPrefs();
    // A lost connection ends the run, unless a test wants it otherwise.
    fake.registry.PutDword(kExtensionsPath, u"retries", 0);
    gTransactionLog = std::make_unique<TextLog>();
    ChooseGroups({0, 1});
    gDatabaseFolder = u"\\Quillet CE News";
    fake.files.CreateFolder(gDatabaseFolder);
    fake.files.SetFreeSpace({1'000'000'000, 1'000'000'000});
    fake.sockets.SetHost("news.example.org", {192, 0, 2, 7});
  }

  ~NntpTest() override {
    CloseDatabases();
    ResetProgram();
  }

  // Puts the groups at these places on the download list.
  static void ChooseGroups(const std::vector<std::size_t>& groups) {
    gDownloadList.clear();
    for (const std::size_t group : groups) gDownloadList.push_back(GroupAt(group));
  }

  void OpenStore() {
    ASSERT_TRUE(LoadDatabaseLibrary());
    ASSERT_TRUE(OpenGDBMDatabases());
    CountArticles();
  }

  // A connection beyond its greeting.
  void Connected() {
    gConnection.wire.Open(fake.sockets.Open());
    ASSERT_TRUE(
        fake.sockets.Connect(gConnection.wire.socket(), std::array{port::Ipv4(192, 0, 2, 7)}, 119));
    gConnection.server_name = u"news.example.org";
  }

  void Server(std::string bytes) { fake.sockets.Server(std::move(bytes)); }
  void Client(std::string bytes) { fake.sockets.Client(std::move(bytes)); }
  // One exchange: the client's line, the server's answer.
  void Exchange(const std::string& line, const std::string& reply) {
    Client(line + "\r\n");
    Server(reply + "\r\n");
  }
  void Quits() { Client("QUIT\r\n"); }

  // An article at which the server stands, given with head and body.
  void Fetches(int number, const std::string& id, const std::string& subject = "s",
               const std::string& body = "text\r\n") {
    FetchesHead(number, id, subject);
    Client("BODY\r\n");
    Server(FormatNarrow("222 %d %s body\r\n", number, id) + body + ".\r\n");
  }
  void FetchesHead(int number, const std::string& id, const std::string& subject = "s") {
    Client("HEAD\r\n");
    Server(FormatNarrow("221 %d %s head\r\n", number, id) + HeadOf(id, subject) + ".\r\n");
  }
  static std::string HeadOf(const std::string& id, const std::string& subject) {
    return "Message-ID: " + id + "\r\nSubject: " + subject + "\r\nFrom: a@example.org\r\n";
  }

  static std::u16string ErrorLog() { return gConnection.error_log.text; }
  static std::string TransactionLog() { return Narrow(gTransactionLog->text); }

  // The texts of the progress dialog's lower control, or the upper one's.
  std::vector<std::u16string> Progress(std::uint32_t control) {
    std::vector<std::u16string> texts;
    for (const auto& shown : fake.display.progress_texts()) {
      if (shown.control == control) texts.push_back(shown.text);
    }
    return texts;
  }
  std::vector<std::u16string> Details() { return Progress(1022); }
  std::vector<std::u16string> Titles() { return Progress(1020); }

  std::vector<std::u16string> BoxTexts() {
    std::vector<std::u16string> texts;
    for (const auto& box : fake.display.boxes()) texts.push_back(box.text);
    return texts;
  }

  // The Message-IDs on a group's chain, newest first.
  static std::vector<std::string> Chain(std::u16string_view group) {
    std::vector<std::string> ids;
    for (auto link = GroupChainFirst(group); link; link = GroupChainNext()) {
      ids.push_back(link->messageId);
    }
    return ids;
  }

  // The registry's lastdownloaded array; empty when it was never written.
  std::vector<std::uint32_t> SavedProgress() { return SavedNumbers(u"lastdownloaded"); }
  std::vector<std::uint32_t> SavedNumbers(std::u16string_view name) {
    const auto value = fake.registry.Find(kRegistryPath, name);
    std::vector<std::uint32_t> numbers;
    for (std::size_t at = 0; value && at + 4 <= value->data.size(); at += 4) {
      numbers.push_back(GetU32(value->data, at));
    }
    return numbers;
  }

  port::FakePlatform fake;
};

}  // namespace quillet
