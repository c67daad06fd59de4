// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/messages.h"
#include "base/box_owner.h"

#include <gtest/gtest.h>

#include "base/prefs.h"
#include "base/reset.h"
#include "base/window_procedures.h"
#include "port/fake/fake_platform.h"
#include "res/resource.h"

namespace quillet {
namespace {

using port::BoxButtons;
using port::BoxIcon;

class Messages : public testing::Test {
 protected:
  Messages() {
    window_ = fake_.display.CreateMainWindow({u"Quillet CE", u"title", kIconMain, {240, 294}});
    fake_.display.ShowMainWindow();
    gMainWindow = window_;
    gPrefs = std::make_unique<Prefs>();
  }
  ~Messages() override {
    fake_.display.Verify();
    ResetProgram();
  }
  port::ShownBox LastBox() { return fake_.display.boxes().back(); }

  port::FakePlatform fake_;
  port::WindowHandle window_ = 0;
};

TEST_F(Messages, ShowMessageIsATopmostOkBoxOfTheOwner) {
  ShowMessage(u"text");
  EXPECT_EQ(LastBox().caption, u"Quillet");
  EXPECT_EQ(LastBox().text, u"text");
  EXPECT_EQ(LastBox().owner, window_);
  EXPECT_EQ(LastBox().style.buttons, BoxButtons::kOk);
  EXPECT_EQ(LastBox().style.icon, BoxIcon::kNone);
  EXPECT_TRUE(LastBox().style.topmost);
}

TEST_F(Messages, ARefusalNamesTheFirstTwentyCharacters) {
  EXPECT_EQ(RefusalOf(u""), u"");
  EXPECT_EQ(RefusalOf(u"gr\u00FC\u00DFe \u20AC?"), u"");
  std::u16string typed, named;
  for (char16_t c = 0x410; c < 0x410 + 20; ++c) {
    typed += c;
    named += u' ';
    named += c;
  }
  const std::u16string told = u"Some characters of this text cannot be used here:" + named;
  EXPECT_EQ(RefusalOf(typed + typed), told);
  EXPECT_EQ(RefusalOf(typed + u"\u03A9"), told + u" ...");
}

TEST_F(Messages, AskOkCancelReturnsTheButton) {
  fake_.display.Expect(u"question", port::kIdCancel);
  EXPECT_EQ(AskOkCancel(u"question"), 2);
  fake_.display.Expect(u"question", port::kIdOk);
  EXPECT_EQ(AskOkCancel(u"question"), 1);
  EXPECT_EQ(LastBox().caption, u"Quillet");
  EXPECT_EQ(LastBox().style.buttons, BoxButtons::kOkCancel);
  EXPECT_TRUE(LastBox().style.topmost);
}

TEST_F(Messages, AtTheEndOfTheSessionEveryQuestionIsAnsweredAsEscapeWould) {
  BeginSessionEnd();
  EXPECT_FALSE(AskYesNo(u"question"));
  EXPECT_FALSE(ConfirmAction(u"question", true));
  EXPECT_EQ(AskOkCancel(u"question"), port::kIdCancel);
  EXPECT_EQ(ShowMessage(u"text"), port::kIdOk);
  EXPECT_EQ(ShowBox(0, u"caption", u"question", {BoxButtons::kYesNo}), port::kIdNo);
  EXPECT_EQ(ShowBox(0, u"caption", u"question", {BoxButtons::kYesNoCancel}), port::kIdCancel);
  EXPECT_TRUE(fake_.display.boxes().empty());
}

TEST_F(Messages, AskYesNoIsNotTopmostAndHasNoIcon) {
  fake_.display.Expect(u"question", port::kIdYes);
  EXPECT_TRUE(AskYesNo(u"question"));
  EXPECT_EQ(LastBox().caption, u"Quillet confirmation");
  EXPECT_EQ(LastBox().style.buttons, BoxButtons::kYesNo);
  EXPECT_EQ(LastBox().style.icon, BoxIcon::kNone);
  EXPECT_FALSE(LastBox().style.topmost);
  EXPECT_EQ(LastBox().owner, window_);
  fake_.display.Expect(u"question", port::kIdNo);
  EXPECT_FALSE(AskYesNo(u"question"));
}

TEST_F(Messages, ConfirmActionHasNoOwnerOverTheMainWindow) {
  fake_.display.Expect(u"question", port::kIdYes);
  EXPECT_TRUE(ConfirmAction(u"question", false));
  EXPECT_EQ(LastBox().owner, 0U);
  EXPECT_EQ(LastBox().caption, u"Quillet confirmation");
  EXPECT_EQ(LastBox().style.icon, BoxIcon::kExclamation);
  EXPECT_EQ(LastBox().style.buttons, BoxButtons::kYesNo);
}

TEST_F(Messages, ConfirmActionIsOwnedByTheDialogThatIsUp) {
  const BoxOwner dialog(77);
  fake_.display.Expect(u"question", port::kIdNo);
  EXPECT_FALSE(ConfirmAction(u"question", true));
  EXPECT_EQ(LastBox().owner, 77U);
}

TEST_F(Messages, SkipVerificationsTakesTheDefaultAndShowsNothing) {
  gPrefs->skipverifications = 1;
  EXPECT_TRUE(ConfirmAction(u"question", true));
  EXPECT_FALSE(ConfirmAction(u"question", false));
  EXPECT_TRUE(fake_.display.boxes().empty());
}

TEST_F(Messages, SkipVerificationsNeverSkipsTheOtherQuestions) {
  gPrefs->skipverifications = 1;
  fake_.display.Expect(u"one", port::kIdYes);
  fake_.display.Expect(u"two", port::kIdCancel);
  EXPECT_TRUE(AskYesNo(u"one"));
  EXPECT_EQ(AskOkCancel(u"two"), port::kIdCancel);
}

TEST_F(Messages, ReportErrorNamesReasonAndLocation) {
  ReportError(u"out of memory", u"HandleGroupCommand");
  EXPECT_EQ(LastBox().text, u"An unexpected error (out of memory) occurred in HandleGroupCommand.");
  EXPECT_EQ(gMainWindow, window_);
}

TEST_F(Messages, ReportsAreCutTo255Characters) {
  ReportError(std::u16string(300, u'x'), u"Location");
  EXPECT_EQ(LastBox().text.size(), 255U);
  EXPECT_EQ(LastBox().text.substr(0, 22), u"An unexpected error (x");
}

int gCloses = 0;
void CountCloses(const port::Message& message) {
  gCloses += message.kind == port::MessageKind::kClose ? 1 : 0;
}

TEST_F(Messages, CriticalErrorSendsCloseAndDestroysTheWindow) {
  gCloses = 0;
  SetProcedure(window_, CountCloses);
  ReportCriticalError(u"out of memory", u"NewPrefs");
  EXPECT_EQ(LastBox().text, u"A critical error (out of memory) occurred in NewPrefs.");
  EXPECT_EQ(gCloses, 1);
  EXPECT_EQ(gMainWindow, 0U);
  EXPECT_EQ(CurrentBoxOwner(), 0U);
  EXPECT_EQ(fake_.display.main_window().handle, 0U);
  ShowMessage(u"later");
  EXPECT_EQ(LastBox().owner, 0U);
}

TEST_F(Messages, CriticalErrorBeforeTheWindowPostsQuit) {
  gMainWindow = 0;
  ReportCriticalError(u"out of memory", u"NewPrefs");
  port::Message message;
  EXPECT_FALSE(gPlatform->messages.Get(message));
  EXPECT_EQ(message.id, 0U);
}

}  // namespace
}  // namespace quillet
