// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/reset.h"

#include <gtest/gtest.h>

#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/upward_calls.h"
#include "base/views.h"
#include "base/window_procedures.h"

namespace quillet {
namespace {

int gOwnState = 0;
const ResetAtEnd kReset([] { gOwnState = 0; });

TEST(ResetProgram, RunsWhatEverySourceHasRegistered) {
  gOwnState = 7;
  ResetProgram();
  EXPECT_EQ(gOwnState, 0);
  gOwnState = 8;
  ResetProgram();
  EXPECT_EQ(gOwnState, 0);
}

TEST(ResetProgram, PutsTheProgramBackToItsBeginning) {
  gPrefs = std::make_unique<Prefs>();
  gCommandBars[1].found = true;
  gDatabaseFolder = u"\\somewhere";
  gMainWindow = 5;
  gAbortRequested = 1;
  gProgressDialog = 6;
  gUpwardCalls.open_preferences = [](PreferencesPage) {};
  KeepInsideSize({240, 320});
  SetProcedure(5, [](const port::Message&) {});
  ResetProgram();
  EXPECT_EQ(gPrefs, nullptr);
  EXPECT_FALSE(gCommandBars[1].found);
  EXPECT_EQ(gDatabaseFolder, u"");
  EXPECT_EQ(gMainWindow, 0U);
  EXPECT_FALSE(AbortRequested());
  EXPECT_EQ(gProgressDialog, 0U);
  EXPECT_EQ(gUpwardCalls.open_preferences, nullptr);
  EXPECT_EQ(InsideSize(), port::Size{});
  EXPECT_FALSE(Dispatch({5, port::MessageKind::kUser, 0, 0, {}}));
}

}  // namespace
}  // namespace quillet
