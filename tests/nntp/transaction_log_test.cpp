// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/transaction_log.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// --- What is written -----------------------------------------------------------------------------

TEST(SavedLog, ThePasswordIsAsterisksAndTheUserNameIsNot) {
  EXPECT_EQ(SavedTransactionLog(u"200 hi\r\nAUTHINFO USER me\r\n381 more\r\n"
                                u"AUTHINFO PASS secret\r\n281 ok\r\n"),
            "200 hi\r\nAUTHINFO USER me\r\n381 more\r\nAUTHINFO PASS ********\r\n281 ok\r\n");
}

TEST(SavedLog, TheAsterisksDoNotTellHowLongThePasswordIs) {
  EXPECT_EQ(SavedTransactionLog(u"AUTHINFO PASS x\r\n"), "AUTHINFO PASS ********\r\n");
  EXPECT_EQ(SavedTransactionLog(u"AUTHINFO PASS " + std::u16string(2000, u'p') + u"\r\n"),
            "AUTHINFO PASS ********\r\n");
}

TEST(SavedLog, APasswordWithBlanksGoesWhole) {
  EXPECT_EQ(SavedTransactionLog(u"AUTHINFO PASS open sesame AUTHINFO PASS x\r\nQUIT\r\n"),
            "AUTHINFO PASS ********\r\nQUIT\r\n");
}

TEST(SavedLog, ItIsFoundInAnyCaseAndAnywhereInALine) {
  EXPECT_EQ(SavedTransactionLog(u"authinfo pass secret\r\n"), "authinfo pass ********\r\n");
  EXPECT_EQ(SavedTransactionLog(u"500 What? \"AuthInfo  Pass\t secret\"\r\n480 login\r\n"),
            "500 What? \"AuthInfo  Pass\t ********\r\n480 login\r\n");
  EXPECT_EQ(SavedTransactionLog(u"AUTHINFO USER AUTHINFO PASS p\r\n"),
            "AUTHINFO USER AUTHINFO PASS ********\r\n");
  EXPECT_EQ(SavedTransactionLog(u"AUTHINFO AUTHINFO PASS p"), "AUTHINFO AUTHINFO PASS ********");
}

TEST(SavedLog, WhatIsNoPasswordStays) {
  for (const char* line :
       {"AUTHINFO PASS\r\n", "AUTHINFO PASS \r\n", "AUTHINFO PASSWORD x\r\n", "AUTHINFOPASS x\r\n",
        "AUTHINFO USER PASS x\r\n", "AUTHINFO\r\nPASS x\r\n", "AUTHINFO PASS\r\nx\r\n",
        "PASS secret\r\n", "AUTHINFO", "AUTHINFO ", ""}) {
    EXPECT_EQ(SavedTransactionLog(Widen(line)), line);
  }
}

TEST(SavedLog, LineEndsAreTheLogsOwn) {
  EXPECT_EQ(SavedTransactionLog(u"a\r\n\r\nb\nAUTHINFO PASS x\nc\rAUTHINFO PASS y\rd"),
            "a\r\n\r\nb\nAUTHINFO PASS ********\nc\rAUTHINFO PASS ********\rd");
}

TEST(SavedLog, ItIsInCodePage1252) {
  std::string every_byte;
  for (int byte = 0; byte < 256; ++byte) every_byte.push_back(static_cast<char>(byte));
  EXPECT_EQ(SavedTransactionLog(Widen(every_byte)), every_byte);
  EXPECT_EQ(SavedTransactionLog(u"Z\u00fcrich \u20ac \u4e2d"), "Z\xFCrich \x80 ?");
}

// --- Where it is written -------------------------------------------------------------------------

class SavingLogs : public NntpTest {
 protected:
  void SaveTo(std::u16string_view path) {
    fake.display.ExpectSaveFile(std::u16string(path));
    SaveTransactionLog();
  }
  std::optional<std::string> File(std::u16string_view path) {
    return fake.files.ReadFile(path, 100000);
  }
};

TEST_F(SavingLogs, WithoutALogNothingIsAsked) {
  gTransactionLog.reset();
  SaveTransactionLog();
  EXPECT_THAT(BoxTexts(), ElementsAre(u"There is no transaction log to save. The transaction log "
                                      u"is created after you connect to your news server."));
  EXPECT_THAT(fake.display.save_dialogs(), IsEmpty());
}

TEST_F(SavingLogs, TheDialogProposesAName) {
  LogTransaction("200 hi\r\nAUTHINFO PASS secret\r\n");
  SaveTo(u"\\t.txt");
  ASSERT_EQ(fake.display.save_dialogs().size(), 1U);
  EXPECT_EQ(fake.display.save_dialogs()[0].title, u"Save trans log as");
  EXPECT_EQ(fake.display.save_dialogs()[0].default_name, u"translog.txt");
  EXPECT_EQ(File(u"\\t.txt"), "200 hi\r\nAUTHINFO PASS ********\r\n");
  EXPECT_EQ(TransactionLog(), "200 hi\r\nAUTHINFO PASS secret\r\n");
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(SavingLogs, NobodyElseCanReadTheFile) {
  const mode_t mask = umask(0);
  SaveTo(u"\\t.txt");
  umask(mask);
  struct stat status {};
  ASSERT_EQ(stat(fake.files.NativePath(u"\\t.txt").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(SavingLogs, AnEmptyLogIsAnEmptyFile) {
  SaveTo(u"\\t.txt");
  EXPECT_EQ(File(u"\\t.txt"), "");
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(SavingLogs, WithoutTheSwitchNothingIsKept) {
  gPrefs->keeptranslog = 0;
  LogTransaction("200 hi\r\n");
  SaveTo(u"\\t.txt");
  EXPECT_EQ(File(u"\\t.txt"), "");
}

TEST_F(SavingLogs, AnExistingFileIsNeverWrittenOver) {
  ASSERT_TRUE(fake.files.WriteFile(u"\\t.txt", "mine"));
  LogTransaction("200 hi\r\n");
  SaveTo(u"\\t.txt");
  EXPECT_EQ(File(u"\\t.txt"), "mine");
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (already exists) occurred in SaveAsFile."));
}

TEST_F(SavingLogs, AFullDiskIsTold) {
  fake.files.FailNth(port::FileCall::kCreateNewFile, 1);
  SaveTo(u"\\t.txt");
  EXPECT_EQ(File(u"\\t.txt"), std::nullopt);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (unknown (112)) occurred in SaveAsFile."));
}

TEST_F(SavingLogs, ACancelledDialogSavesNothing) {
  const int calls = fake.files.calls(port::FileCall::kCreateNewFile);
  fake.display.ExpectSaveFile(std::nullopt);
  SaveTransactionLog();
  EXPECT_EQ(fake.files.calls(port::FileCall::kCreateNewFile), calls);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

}  // namespace
}  // namespace quillet
