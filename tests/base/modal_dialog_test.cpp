// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/modal_dialog.h"

#include <gtest/gtest.h>

#include <vector>

#include "base/box_owner.h"
#include "base/messages.h"
#include "base/reset.h"
#include "base/window_procedures.h"
#include "port/fake/fake_platform.h"
#include "res/resource.h"

namespace quillet {
namespace {

class ModalDialog : public testing::Test {
 protected:
  ModalDialog() {
    window_ = fake_.display.CreateMainWindow({u"Quillet CE", u"title", kIconMain, {240, 294}});
    fake_.display.ShowMainWindow();
    gMainWindow = window_;
  }
  ~ModalDialog() override {
    fake_.display.Verify();
    ResetProgram();
  }

  port::FakePlatform fake_;
  port::WindowHandle window_ = 0;
};

TEST_F(ModalDialog, OwnsBoxesWhileItIsUp) {
  port::WindowHandle dialog = 0;
  fake_.display.WhenShown(kDialogNewGroup, [&](port::WindowHandle shown) {
    dialog = shown;
    fake_.display.Type(shown, kControlGroupName, u"a.b");
    fake_.display.Press(shown, kControlOk);
  });
  std::u16string text;
  const int result = RunModalDialog(
      kDialogNewGroup, nullptr, [&](port::WindowHandle handle, const port::Message& message) {
        ShowMessage(u"inside");
        text = gPlatform->dialogs.Read(handle, kControlGroupName).text;
        return EndOnOkOrCancel(handle, message);
      });
  EXPECT_EQ(result, port::kIdOk);
  EXPECT_EQ(text, u"a.b");
  EXPECT_EQ(fake_.display.boxes().front().owner, dialog);
  EXPECT_EQ(CurrentBoxOwner(), window_);
  EXPECT_TRUE(fake_.display.dialogs().empty());
}

TEST_F(ModalDialog, HoldsBackTheMainWindowsMessages) {
  fake_.display.WhenShown(kDialogNewGroup, [&](port::WindowHandle shown) {
    fake_.display.Inject({window_, port::MessageKind::kUser, 2, 0, {}});
    fake_.display.Press(shown, kControlCancel);
  });
  EXPECT_EQ(RunModalDialog(kDialogNewGroup, nullptr, EndOnOkOrCancel), port::kIdCancel);
  port::Message message;
  ASSERT_TRUE(gPlatform->messages.Get(message));
  EXPECT_EQ(message.kind, port::MessageKind::kUser);
  EXPECT_EQ(message.id, 2U);
}

TEST_F(ModalDialog, EndsWithTheSession) {
  fake_.display.WhenShown(kDialogNewGroup, [&](port::WindowHandle) { fake_.display.EndSession(); });
  EXPECT_EQ(RunModalDialog(kDialogNewGroup, nullptr, EndOnOkOrCancel), port::kIdCancel);
  port::Message message;
  ASSERT_TRUE(gPlatform->messages.Get(message));
  EXPECT_EQ(message.kind, port::MessageKind::kEndSession);
}

TEST_F(ModalDialog, F1OpensTheGuideAndTheDialogStays) {
  fake_.display.WhenShown(kDialogNewGroup, [&](port::WindowHandle shown) {
    fake_.display.PressKey(port::kKeyF1, port::kModifierControl);
    fake_.display.PressKey(port::kKeyF1, 0);
    fake_.display.Press(shown, kControlOk);
  });
  EXPECT_EQ(RunModalDialog(kDialogNewGroup, nullptr, EndOnOkOrCancel), port::kIdOk);
  EXPECT_EQ(fake_.shell.guides, 1);
}

TEST_F(ModalDialog, AGuideThatIsNotThereIsToldOverTheDialog) {
  fake_.shell.guide_result = false;
  port::WindowHandle dialog = 0;
  fake_.display.WhenShown(kDialogNewGroup, [&](port::WindowHandle shown) {
    dialog = shown;
    fake_.display.PressKey(port::kKeyF1, 0);
    fake_.display.Press(shown, kControlOk);
  });
  RunModalDialog(kDialogNewGroup, nullptr, EndOnOkOrCancel);
  ASSERT_EQ(fake_.display.boxes().size(), 1U);
  EXPECT_EQ(fake_.display.boxes().front().owner, dialog);
  EXPECT_EQ(fake_.display.boxes().front().text,
            u"The user guide could not be opened. The command \"man quillet\" shows it in a "
            u"terminal.");
}

TEST_F(ModalDialog, IsCancelledWhenItCannotBeShown) {
  fake_.display.FailNextDialog();
  EXPECT_EQ(RunModalDialog(kDialogNewGroup, nullptr, EndOnOkOrCancel), port::kIdCancel);
  EXPECT_EQ(CurrentBoxOwner(), window_);
}

// What a window of its own, as an editor is, gets while a modal dialog is up.
class OtherWindow : public ModalDialog {
 protected:
  OtherWindow() {
    other_ = gPlatform->dialogs.Create(kDialogMessageHeaders, 0, port::DialogKind::kWindow);
    gPlatform->dialogs.Show(other_);
    SetProcedure(other_, [this](const port::Message& message) {
      got_.push_back(message.id);
      if (message.kind == port::MessageKind::kClose) RemoveProcedure(other_);
    });
  }
  ~OtherWindow() override { gPlatform->dialogs.Destroy(other_); }
  port::Message Note(std::uint32_t id) { return {other_, port::MessageKind::kUser, id, 0, {}}; }
  // Runs a dialog that ends once these messages have been taken from the queue.
  void RunDialogOver(const std::vector<port::Message>& messages) {
    fake_.display.WhenShown(kDialogNewGroup, [&](port::WindowHandle shown) {
      for (const port::Message& message : messages) fake_.display.Inject(message);
      fake_.display.Press(shown, kControlCancel);
    });
    RunModalDialog(kDialogNewGroup, nullptr, [&](port::WindowHandle, const port::Message& message) {
      handled_before_end_ = got_;
      return EndOnOkOrCancel(0, message);
    });
  }

  port::WindowHandle other_ = 0;
  std::vector<std::uint32_t> got_;
  std::vector<std::uint32_t> handled_before_end_;
};

TEST_F(OtherWindow, LivesOnWhileADialogIsUp) {
  RunDialogOver({Note(7), Note(8)});
  EXPECT_EQ(handled_before_end_, (std::vector<std::uint32_t>{7, 8}));
}

TEST_F(OtherWindow, DoesNotLetTheMainWindowThrough) {
  std::vector<std::uint32_t> main_got;
  SetProcedure(window_, [&](const port::Message& message) { main_got.push_back(message.id); });
  RunDialogOver({{window_, port::MessageKind::kUser, 1, 0, {}},
                 Note(7),
                 {window_, port::MessageKind::kSize, 100, 200, {}}});
  EXPECT_EQ(handled_before_end_, std::vector<std::uint32_t>{7});
  EXPECT_EQ(main_got, std::vector<std::uint32_t>{100});
  port::Message message;
  ASSERT_TRUE(gPlatform->messages.Get(message));
  EXPECT_EQ(message.id, 1U);
}

TEST_F(OtherWindow, GetsNothingMoreOnceItHasGone) {
  RunDialogOver({Note(7), {other_, port::MessageKind::kClose, 9, 0, {}}, Note(8)});
  EXPECT_EQ(got_, (std::vector<std::uint32_t>{7, 9}));
}

}  // namespace
}  // namespace quillet
