// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/start_guide.h"

#include <gtest/gtest.h>

#include "base/extensions.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "base/subscriptions.h"
#include "groups/group_list.h"
#include "port/fake/fake_platform.h"
#include "port/windows.h"
#include "res/resource.h"
#include "store/counts.h"

namespace quillet {
namespace {

using Steps = std::vector<port::GuideStep>;

Steps StepsWith(bool server, bool group) {
  return {{u"1. Tell Quillet your news server", 40061, server},
          {u"2. Add a newsgroup", 40020, group},
          {u"3. Connect", 40008, false}};
}

TEST(GuideSteps, NothingIsDoneInAnEmptyProfile) {
  EXPECT_EQ(GuideSteps(Prefs(), 0), StepsWith(false, false));
}

TEST(GuideSteps, WhatIsDoneIsTickedInAnyOrder) {
  Prefs prefs;
  AddGroup(prefs, u"a.b");
  EXPECT_EQ(GuideSteps(prefs, 0), StepsWith(false, true));
  AddServer(prefs, {.name = u"news"});
  EXPECT_EQ(GuideSteps(prefs, 0), StepsWith(true, true));
  RemoveGroup(prefs, GroupAt(0));
  EXPECT_EQ(GuideSteps(prefs, 0), StepsWith(true, false));
}

TEST(GuideSteps, OneStoredArticleEndsIt) {
  EXPECT_EQ(GuideSteps(Prefs(), 1), Steps());
}

class StartGuide : public testing::Test {
 protected:
  StartGuide() {
    gMainWindow = fake_.display.CreateMainWindow({u"Quillet CE", u"title", kIconMain, {240, 294}});
    fake_.display.ShowMainWindow();
    fake_.display.CreateTabs(port::TabPlacement::kBottom);
    ReadPreferences();
  }
  ~StartGuide() override { ResetProgram(); }

  void Add(const std::u16string& group, std::uint32_t articles) {
    AddGroup(*gPrefs, group);
    gReadInfo.push_back(NewReadInfoPtr());
    gReadInfo.back()->totalCount = articles;
  }
  static void Choose(std::uint32_t value) {
    Extensions changed = ReadExtensions();
    const Extensions before = changed;
    changed.startguide = value;
    EXPECT_TRUE(WriteExtensions(before, changed));
  }
  Steps Shown() { return fake_.display.list().guide; }

  port::FakePlatform fake_;
};

TEST_F(StartGuide, StandsInAnEmptyListAndInOneWithoutArticles) {
  CreateGroupList();
  EXPECT_EQ(Shown(), StepsWith(false, false));
  Add(u"a.b", 0);
  FillGroupList();
  EXPECT_EQ(Shown(), StepsWith(false, true));
}

TEST_F(StartGuide, GoesWithTheFirstArticleAndComesBackWithoutAny) {
  Add(u"a.b", 0);
  Add(u"c.d", 0);
  CreateGroupList();
  gReadInfo[1]->totalCount = 1;
  RefreshGroupCounts();
  EXPECT_EQ(Shown(), Steps());
  FillGroupList();
  EXPECT_EQ(Shown(), Steps());
  gReadInfo[1]->totalCount = 0;
  RefreshGroupCounts();
  EXPECT_EQ(Shown(), StepsWith(false, true));
}

TEST_F(StartGuide, IsNotShownWhereItIsSwitchedOff) {
  Choose(0);
  CreateGroupList();
  EXPECT_EQ(Shown(), Steps());
  Choose(1);
  RefreshStartGuide();
  EXPECT_EQ(Shown(), StepsWith(false, false));
  Choose(0);
  RefreshStartGuide();
  EXPECT_EQ(Shown(), Steps());
}

}  // namespace
}  // namespace quillet
