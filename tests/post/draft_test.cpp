// SPDX-License-Identifier: GPL-3.0-or-later
#include "post/draft.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/messages.h"
#include "base/prefs.h"
#include "base/reset.h"
#include "port/fake/fake_platform.h"

namespace quillet {
namespace {

Draft Sample() {
  Draft draft;
  draft.simple = true;
  draft.info.text = u"Text with \xD800 and\r\n\u20AC";
  draft.info.subject = u"Subject";
  draft.info.newsgroups = u"a,b";
  draft.info.references = u"<a@x>";
  draft.info.recipients = u"bob@example.invalid";
  draft.info.key = "20260101";
  draft.info.reply = ReplyFlag::kQueued;
  draft.info.mode = RouteMode::kForward;
  draft.field = 2;
  draft.caret = 7;
  draft.storing_key = "20260102";
  draft.mail_id = u"2026-1";
  draft.mailed = true;
  return draft;
}

void ExpectSame(const Draft& a, const Draft& b) {
  EXPECT_EQ(a.simple, b.simple);
  EXPECT_EQ(a.info.text, b.info.text);
  EXPECT_EQ(a.info.subject, b.info.subject);
  EXPECT_EQ(a.info.newsgroups, b.info.newsgroups);
  EXPECT_EQ(a.info.references, b.info.references);
  EXPECT_EQ(a.info.recipients, b.info.recipients);
  EXPECT_EQ(a.info.copy_to, b.info.copy_to);
  EXPECT_EQ(a.info.key, b.info.key);
  EXPECT_EQ(a.info.reply, b.info.reply);
  EXPECT_EQ(a.info.mode, b.info.mode);
  EXPECT_EQ(a.field, b.field);
  EXPECT_EQ(a.caret, b.caret);
  EXPECT_EQ(a.storing_key, b.storing_key);
  EXPECT_EQ(a.mail_id, b.mail_id);
  EXPECT_EQ(a.mailed, b.mailed);
}

TEST(DraftBytes, ComeBackWhole) {
  ExpectSame(*ParseDraft(SerializeDraft(Sample())), Sample());
  ExpectSame(*ParseDraft(SerializeDraft(Draft())), Draft());
}

TEST(DraftBytes, CutAnywhereTheyAreNoDraft) {
  const std::string data = SerializeDraft(Sample());
  for (std::size_t i = 0; i < data.size(); ++i) {
    EXPECT_FALSE(ParseDraft(std::string_view(data).substr(0, i))) << i;
  }
  EXPECT_FALSE(ParseDraft(data + "x"));
}

TEST(DraftBytes, ImpossibleValuesAreRefused) {
  constexpr std::size_t kNumbers = 16;  // behind the name of the layout
  for (const std::size_t number : {0U, 1U, 2U, 3U, 5U}) {
    std::string data = SerializeDraft(Sample());
    data[kNumbers + 4 * number] = 9;
    EXPECT_FALSE(ParseDraft(data)) << number;
  }
  std::string data = SerializeDraft(Sample());
  data[kNumbers + 4 * 6 + 3] = '\xFF';  // a text that is longer than the file
  EXPECT_FALSE(ParseDraft(data));
}

// A draft that an earlier build has written opens in every later one.
TEST(DraftBytes, LayoutIsForEver) {
  Draft draft;
  draft.info.text = u"a";
  EXPECT_EQ(SerializeDraft(draft), std::string("Quillet draft 1\n", 16) + std::string(24, '\0') +
                                       std::string(4 * 8, '\0') + std::string("\x02\0\0\0a\0", 6));
}

// Of a text in which units beyond U+FF7F are characters. Without such units there is no difference.
TEST(DraftBytes, LayoutOfCharactersIsForEver) {
  Draft draft;
  draft.info.characters = true;
  draft.info.text = u"\uFF80";
  EXPECT_EQ(SerializeDraft(draft), std::string("Quillet draft 2\n", 16) + std::string(24, '\0') +
                                       std::string(4 * 8, '\0') +
                                       std::string("\x02\0\0\0\x80\xFF", 6));
  EXPECT_TRUE(ParseDraft(SerializeDraft(draft))->info.characters);
  EXPECT_EQ(ParseDraft(SerializeDraft(draft))->info.text, u"\uFF80");
  draft.info.text = u"\u65E5";
  EXPECT_TRUE(SerializeDraft(draft).starts_with("Quillet draft 1\n"));
  draft.info.characters = false;
  draft.info.text = u"\xFF80";
  EXPECT_TRUE(SerializeDraft(draft).starts_with("Quillet draft 1\n"));
  EXPECT_FALSE(ParseDraft(SerializeDraft(draft))->info.characters);
  EXPECT_FALSE(ParseDraft("Quillet draft 3\n" + SerializeDraft(draft).substr(16)));
}

class DraftFile : public ::testing::Test {
 protected:
  ~DraftFile() override { ResetProgram(); }

  port::FakePlatform fake;
};

TEST_F(DraftFile, IsFoundAgain) {
  EXPECT_FALSE(LoadDraft());
  ASSERT_TRUE(SaveDraft(Sample()));
  ExpectSame(*LoadDraft(), Sample());
  DeleteDraft();
  EXPECT_FALSE(LoadDraft());
  DeleteDraft();
}

TEST_F(DraftFile, FailedWritingIsToldAndLeavesTheOldOne) {
  ASSERT_TRUE(SaveDraft(Sample()));
  fake.files.FailNth(port::FileCall::kWriteFile, 1);
  EXPECT_FALSE(SaveDraft(Draft()));
  ExpectSame(*LoadDraft(), Sample());
}

TEST_F(DraftFile, DamagedOneIsKeptAside) {
  fake.files.WriteFile(kDraftPath, "rubbish");
  EXPECT_FALSE(LoadDraft());
  ASSERT_EQ(fake.display.boxes().size(), 1U);
  EXPECT_TRUE(fake.display.boxes()[0].text.starts_with(
      u"The article that you were writing when Quillet CE ended could not be read. It has been "
      u"kept as \""));
  EXPECT_EQ(fake.files.ReadFile(kDamagedDraftPath, 100), "rubbish");
  EXPECT_FALSE(LoadDraft());
  EXPECT_EQ(fake.display.boxes().size(), 1U);
}

}  // namespace
}  // namespace quillet
