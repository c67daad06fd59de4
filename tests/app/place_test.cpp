// SPDX-License-Identifier: GPL-3.0-or-later
// Where the user left off, from the end of one run to the start of the next.
#include <gmock/gmock.h>

#include "base/extensions.h"
#include "base/messages.h"
#include "base/registry_values.h"
#include "store/counts.h"
#include "tests/app/reading_fixture.h"

namespace quillet {
namespace {

using testing::ElementsAre;

constexpr std::u16string_view kPlace = u"Software\\Brindle\\Quillet\\Extensions\\Place";

class PlaceTest : public ReadingTest {
 protected:
  void Switch(std::uint32_t value) {
    std::string data;
    AppendU32(data, value);
    fake_.registry.Create(kExtensionsPath)->Set(u"restoreplace", port::RegistryType::kDword, data);
  }
  void SetPlace(std::u16string_view name, std::uint32_t value) {
    WriteDword(*fake_.registry.Create(kPlace), name, value);
  }
  void SetPlaceText(std::u16string_view name, std::u16string_view text) {
    WriteText(*fake_.registry.Create(kPlace), name, text);
  }
  void SetWindow(const std::vector<std::uint32_t>& words) {
    WriteWords(*fake_.registry.Create(kPlace), u"window", words);
  }
  bool PlaceIsThere() { return fake_.registry.Open(kPlace) != nullptr; }
  std::string Kept(std::u16string_view name) {
    const auto key = fake_.registry.Open(kPlace);
    const auto value = key ? key->Get(name) : std::nullopt;
    return value ? value->data : "missing";
  }
  std::u16string KeptGroup() {
    return Utf16Text(Kept(u"group")).c_str();  // without its NUL
  }
  int SelectedGroupRow() { return fake_.display.list().selected; }
  // Dan's article has many lines.
  void MakeDanLong() {
    OpenStoreAgain();
    auto article = FetchArticle("<4@x>");
    std::string text;
    for (int i = 1; i <= 50; ++i) text += "line\r\n";
    article->body = text;
    EXPECT_TRUE(StoreArticle(*article));
    CloseDatabases();
  }
  void Restart() {
    End();
    StartAndWait();
  }
};

TEST_F(PlaceTest, TheArticleIsOpenedAgainWhereItWasLeft) {
  MakeDanLong();
  StartReading(u"Dan");
  Key(port::kKeyPageDown);
  Restart();
  EXPECT_EQ(ShownTab(), port::kArticleTab);
  EXPECT_EQ(From(), u"From: Dan");
  EXPECT_EQ(fake_.display.article().line, 19);
  EXPECT_EQ(CurrentGroup(), GroupAt(0));
  Key(port::kKeyEscape);
  EXPECT_EQ(SelectedText(), u"Dan");
  Key(port::kKeyEscape);
  EXPECT_EQ(SelectedGroupRow(), 0);
  ExpectInStep();
}

TEST_F(PlaceTest, TheRowOfTheThreadViewIsSelectedAgain) {
  StartAndWait();
  OpenGroup(0);
  Click(u"Cid");
  Restart();
  EXPECT_EQ(ShownTab(), port::kThreadTab);
  EXPECT_EQ(SelectedText(), u"Cid");
  Click(u"3/3 Hello");
  Restart();
  EXPECT_EQ(SelectedText(), u"3/3 Hello");
  EXPECT_FALSE(ArticleIsCurrent());
}

TEST_F(PlaceTest, InTheGroupListItsRowIsSelectedAndNothingIsThreaded) {
  StartAndWait();
  OpenGroup(1);
  Tab(port::kGroupTab);
  Restart();
  EXPECT_EQ(ShownTab(), port::kGroupTab);
  EXPECT_EQ(SelectedGroupRow(), 1);
  EXPECT_EQ(CurrentGroup(), GroupAt(1));
  EXPECT_FALSE(TreeIsThere());
}

TEST_F(PlaceTest, AnArticleMarkedUnreadIsSelectedAndStaysUnread) {
  StartReading(u"Bob");
  Command(kCommandMarkUnread);
  Restart();
  EXPECT_EQ(ShownTab(), port::kThreadTab);
  EXPECT_EQ(SelectedText(), u"Bob");
  EXPECT_FALSE(OnProgram([] { return IsArticleRead("<2@x>"); }));
}

TEST_F(PlaceTest, AGroupThatHasGoneIsNotMissed) {
  StartReading(u"Bob");
  End();
  SetGroups({u"b"});
  StartAndWait();
  EXPECT_EQ(ShownTab(), port::kGroupTab);
  EXPECT_EQ(SelectedGroupRow(), -1);
  EXPECT_EQ(CurrentGroup(), std::nullopt);
}

TEST_F(PlaceTest, AGroupIsFoundByItsNameWhereverItIs) {
  StartReading(u"Bob");
  End();
  SetGroups({u"new", u"a", u"b"});
  StartAndWait();
  EXPECT_EQ(From(), u"From: Bob");
  EXPECT_EQ(CurrentGroup(), GroupAt(1));
}

TEST_F(PlaceTest, AnArticleThatHasGoneLeavesItsGroupOpen) {
  StartReading(u"Dan");
  End();
  OpenStoreAgain();
  EXPECT_TRUE(DeleteArticle("<4@x>"));
  CloseDatabases();
  StartAndWait();
  EXPECT_EQ(ShownTab(), port::kThreadTab);
  EXPECT_THAT(Rows(), ElementsAre(u"3/3 Hello", u"Ann", u"Bob", u"Cid"));
  EXPECT_EQ(SelectedText(), u"");
}

TEST_F(PlaceTest, AGroupWithoutArticlesIsNotOpened) {
  StartReading(u"Dan");
  End();
  SetPlaceText(u"group", u"empty");
  SetGroups({u"a", u"empty"});
  StartAndWait();
  EXPECT_EQ(ShownTab(), port::kGroupTab);
  EXPECT_EQ(SelectedGroupRow(), 1);
}

TEST_F(PlaceTest, AScheduledStartOpensAndForgetsNothing) {
  StartReading(u"Bob");
  End();
  fake_.shell.command_line = port::kScheduledCommandLine;
  fake_.display.Allow(u"", port::kIdOk);
  StartAndWait();
  EXPECT_EQ(ShownTab(), port::kGroupTab);
  EXPECT_FALSE(TreeIsThere());
  End();
  EXPECT_EQ(KeptGroup(), u"a");
}

TEST_F(PlaceTest, AStartForSomethingElseOpensThat) {
  StartReading(u"Bob");
  End();
  fake_.shell.command_line = u"something else";
  StartAndWait();
  EXPECT_EQ(ShownTab(), port::kGroupTab);
  EXPECT_EQ(CurrentGroup(), std::nullopt);
}

TEST_F(PlaceTest, AfterACriticalErrorOnlyTheRowIsSelected) {
  StartReading(u"Bob");
  fake_.display.Allow(u"", port::kIdOk);
  fake_.queues.PostCall(id_, [] { ReportCriticalError(u"out of memory", u"Somewhere"); });
  Join();
  EXPECT_EQ(Kept(u"view"), std::string("\0\0\0\0", 4));
  StartAndWait();
  EXPECT_EQ(ShownTab(), port::kGroupTab);
  EXPECT_EQ(SelectedGroupRow(), 0);
}

TEST_F(PlaceTest, APlaceThatBringsTheProgramDownIsNotOpenedAgain) {
  class Looker final : public port::DisplayObserver {
   public:
    explicit Looker(std::function<std::string()> look) : look_(std::move(look)) {}
    void OnTabSelected(int) override { views.push_back(look_()); }
    std::vector<std::string> views;

   private:
    std::function<std::string()> look_;
  };
  StartReading(u"Bob");
  End();
  Looker looker([this] { return Kept(u"view"); });
  fake_.display.SetObserver(&looker);
  StartAndWait();
  ASSERT_FALSE(looker.views.empty());
  EXPECT_EQ(looker.views.front(), std::string("\0\0\0\0", 4)) << "while it is being opened";
  EXPECT_EQ(Kept(u"view"), std::string("\x02\0\0\0", 4)) << "once it is open";
  End();
  fake_.display.SetObserver(&showings_);
}

TEST_F(PlaceTest, ARunThatIsKilledBeginsInItsGroupAgain) {
  StartAndWait();
  EXPECT_FALSE(PlaceIsThere());
  OpenGroup(1);
  EXPECT_EQ(KeptGroup(), u"b");
  EXPECT_EQ(Kept(u"view"), std::string("\x01\0\0\0", 4));
}

TEST_F(PlaceTest, WhatIsKeptIsWrittenLiterally) {
  StartReading(u"Cid");
  EXPECT_TRUE(fake_.display.MoveMainWindow({-5, 300, {640, 480}, true}));
  End();
  EXPECT_EQ(Kept(u"window"), std::string("\xFB\xFF\xFF\xFF\x2C\x01\0\0\x80\x02\0\0\xE0\x01\0\0"
                                         "\x01\0\0\0",
                                         20));
  EXPECT_EQ(Kept(u"group"), std::string("a\0\0\0", 4));
  EXPECT_EQ(Kept(u"view"), std::string("\x02\0\0\0", 4));
  EXPECT_EQ(Kept(u"article"), "<3@x>");
  EXPECT_EQ(Kept(u"subjectrow"), std::string("\0\0\0\0", 4));
  EXPECT_EQ(Kept(u"textplace"), std::string("\0\0\0\0", 4));
}

TEST_F(PlaceTest, TheWindowIsAskedForWhereItWas) {
  SetWindow({0xFFFFFFFB, 300, 640, 480, 1});
  StartAndWait();
  EXPECT_EQ(fake_.display.main_window().traits.place,
            (port::WindowPlace{-5, 300, {640, 480}, true}));
}

TEST_F(PlaceTest, AFreshProfileHasTheGivenSize) {
  StartAndWait();
  EXPECT_EQ(fake_.display.main_window().traits.place, std::nullopt);
  EXPECT_EQ(fake_.display.main_window().traits.size, (port::Size{240, 294}));
}

TEST_F(PlaceTest, AWindowThatCannotBeMeantIsNotAskedFor) {
  for (const std::vector<std::uint32_t>& words :
       std::vector<std::vector<std::uint32_t>>{{},
                                               {0, 0, 640, 480},
                                               {0, 0, 640, 480, 0, 0},
                                               {0, 0, 99, 480, 0},
                                               {0, 0, 640, 99, 0},
                                               {0, 0, 0x80000000, 480, 0}}) {
    SetWindow(words);
    StartAndWait();
    EXPECT_EQ(fake_.display.main_window().traits.place, std::nullopt) << words.size();
    End();
  }
}

TEST_F(PlaceTest, OddValuesOpenNothing) {
  SetPlaceText(u"group", u"a");
  SetPlace(u"view", 3);
  fake_.registry.Create(kPlace)->Set(u"article", port::RegistryType::kBinary,
                                     std::string(5000, '<'));
  StartAndWait();
  EXPECT_EQ(ShownTab(), port::kGroupTab);
  End();
  SetPlace(u"view", 2);
  SetPlace(u"textplace", 0xFFFFFFFF);
  fake_.registry.Create(kPlace)->Set(u"article", port::RegistryType::kBinary, "<1@x>");
  StartAndWait();
  EXPECT_EQ(ShownTab(), port::kThreadTab) << "it has not been read";
  EXPECT_EQ(SelectedText(), u"Ann");
}

TEST_F(PlaceTest, OffNothingIsReadOrWritten) {
  Switch(0);
  SetWindow({1, 2, 640, 480, 0});
  SetPlaceText(u"group", u"b");
  SetPlace(u"view", 1);
  StartAndWait();
  EXPECT_EQ(fake_.display.main_window().traits.place, std::nullopt);
  EXPECT_EQ(ShownTab(), port::kGroupTab);
  EXPECT_EQ(SelectedGroupRow(), -1);
  OpenGroup(0);
  OpenArticle(u"Ann");
  fake_.display.MoveMainWindow({7, 7, {700, 700}, false});
  End();
  EXPECT_EQ(KeptGroup(), u"b");
  EXPECT_EQ(Kept(u"view"), std::string("\x01\0\0\0", 4));
  EXPECT_EQ(Kept(u"article"), "missing");
  EXPECT_EQ(Kept(u"window").substr(0, 4), std::string("\x01\0\0\0", 4));
}

TEST_F(PlaceTest, ARegistryThatTakesNothingIsNoTrouble) {
  StartAndWait();
  fake_.registry.FailCreate(1);
  OpenGroup(0);
  EXPECT_FALSE(PlaceIsThere());
  fake_.registry.FailSet(1);
  OpenArticle(u"Ann");
  EXPECT_EQ(From(), u"From: Ann");
}

}  // namespace
}  // namespace quillet
