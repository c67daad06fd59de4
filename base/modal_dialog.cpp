// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/modal_dialog.h"

#include <algorithm>
#include <vector>

#include "base/box_owner.h"
#include "base/messages.h"
#include "base/user_guide.h"
#include "base/window_procedures.h"
#include "port/dialogs.h"
#include "port/message_queue.h"
#include "port/platform.h"
#include "res/resource.h"

namespace quillet {
namespace {

// What came for others while the dialog was up and is not theirs yet: delivered when it ends.
class WaitingMessages {
 public:
  ~WaitingMessages() {
    for (const port::Message& message : messages_) gPlatform->messages.Post(message);
    if (quit_) gPlatform->messages.PostQuit(quit_code_);
  }
  void Add(const port::Message& message) { messages_.push_back(message); }
  void AddQuit(int code) {
    quit_ = true;
    quit_code_ = code;
  }

 private:
  std::vector<port::Message> messages_;
  bool quit_ = false;
  int quit_code_ = 0;
};

bool IsHandledAtOnce(const port::Message& message) {
  return message.window != gMainWindow || message.kind == port::MessageKind::kSize;
}

// True when the message ends the dialog.
bool HandleOtherWindow(const port::Message& message, WaitingMessages& waiting) {
  if (IsHandledAtOnce(message) && Dispatch(message)) return false;
  waiting.Add(message);
  return message.kind == port::MessageKind::kEndSession;
}

// False when the message is not the dialog's.
using Handler = std::function<bool(const port::Message& message, std::optional<int>& result)>;

// F1 in the dialog; the main window, whose messages wait, has a command of it.
bool AsksForGuide(const port::Message& message) {
  return message.window != gMainWindow && IsGuideKey(message);
}

int Pump(const Handler& handle) {
  WaitingMessages waiting;
  port::Message message;
  for (;;) {
    if (!gPlatform->messages.Get(message)) {
      waiting.AddQuit(static_cast<int>(message.id));
      return port::kIdCancel;
    }
    if (AsksForGuide(message)) {
      OpenUserGuide();
      continue;
    }
    std::optional<int> result;
    if (!handle(message, result)) {
      if (HandleOtherWindow(message, waiting)) return port::kIdCancel;
    } else if (result) {
      return *result;
    }
  }
}

}  // namespace

int RunModalDialog(std::uint32_t form, const DialogSetup& setup, const DialogProcedure& procedure) {
  const port::WindowHandle dialog =
      gPlatform->dialogs.Create(form, CurrentBoxOwner(), port::DialogKind::kModal);
  if (dialog == 0) return port::kIdCancel;
  if (setup) setup(dialog);
  gPlatform->dialogs.Show(dialog);
  const BoxOwner owner(dialog);
  const int result = Pump([&](const port::Message& message, std::optional<int>& ends) {
    if (message.window != dialog) return false;
    ends = procedure(dialog, message);
    return true;
  });
  gPlatform->dialogs.Destroy(dialog);
  return result;
}

int RunModalSheet(port::WindowHandle sheet, std::span<const port::WindowHandle> pages,
                  const std::function<std::optional<int>(const port::Message&)>& procedure) {
  gPlatform->dialogs.Show(sheet);
  const BoxOwner owner(sheet);
  return Pump([&](const port::Message& message, std::optional<int>& ends) {
    if (message.window != sheet && std::ranges::find(pages, message.window) == pages.end()) {
      return false;
    }
    ends = procedure(message);
    return true;
  });
}

std::optional<int> EndOnOkOrCancel(port::WindowHandle /*dialog*/, const port::Message& message) {
  if (message.kind == port::MessageKind::kClose) return port::kIdCancel;
  if (message.kind != port::MessageKind::kCommand) return std::nullopt;
  if (message.id == kControlOk) return port::kIdOk;
  if (message.id == kControlCancel) return port::kIdCancel;
  return std::nullopt;
}

}  // namespace quillet
