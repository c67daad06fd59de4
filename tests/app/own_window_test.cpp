// SPDX-License-Identifier: GPL-3.0-or-later
// A window beside the main window, with a procedure of its own, while the program runs.
#include "base/messages.h"
#include "base/window_procedures.h"
#include "port/dialogs.h"
#include "port/platform.h"
#include "res/resource.h"
#include "tests/app/program_fixture.h"

namespace quillet {
namespace {

class OwnWindow : public Program {
 protected:
  OwnWindow() {
    StartAndWait();
    OnProgramThread([this] {
      window_ = gPlatform->dialogs.Create(kDialogMessageHeaders, 0, port::DialogKind::kWindow);
      gPlatform->dialogs.Show(window_);
      SetProcedure(window_, [this](const port::Message& message) { got_.push_back(message.id); });
    });
  }
  void Send(std::uint32_t id) {
    fake_.display.Inject({window_, port::MessageKind::kUser, id, 0, {}});
    WaitIdle();
  }
  void Close() {
    OnProgramThread([this] {
      RemoveProcedure(window_);
      gPlatform->dialogs.Destroy(window_);
    });
  }

  port::WindowHandle window_ = 0;
  std::vector<std::uint32_t> got_;  // by the program thread, looked at when it is idle
};

TEST_F(OwnWindow, GetsItsMessagesFromTheMainLoop) {
  Send(7);
  Send(8);
  EXPECT_EQ(got_, (std::vector<std::uint32_t>{7, 8}));
  Close();
  End();
}

TEST_F(OwnWindow, GetsThemWhileAModalDialogIsUp) {
  EXPECT_TRUE(fake_.display.SendCommand(kCommandAbout));
  const port::WindowHandle about = fake_.display.WaitForDialog(kDialogAbout);
  ASSERT_NE(about, 0U);
  Send(7);
  EXPECT_EQ(got_, std::vector<std::uint32_t>{7});
  EXPECT_TRUE(fake_.display.Press(about, kControlOk));
  WaitIdle();
  Close();
  End();
}

TEST_F(OwnWindow, GetsNothingMoreOnceItHasGone) {
  Close();
  Send(7);
  EXPECT_TRUE(got_.empty());
  End();
}

}  // namespace
}  // namespace quillet
