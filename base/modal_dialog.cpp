#include "base/modal_dialog.h"

#include <vector>

#include "base/box_owner.h"
#include "base/messages.h"
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

int PumpDialog(port::WindowHandle dialog, const DialogProcedure& procedure,
               WaitingMessages& waiting) {
  port::Message message;
  for (;;) {
    if (!gPlatform->messages.Get(message)) {
      waiting.AddQuit(static_cast<int>(message.id));
      return port::kIdCancel;
    }
    if (message.window != dialog) {
      if (HandleOtherWindow(message, waiting)) return port::kIdCancel;
    } else if (const std::optional<int> result = procedure(dialog, message)) {
      return *result;
    }
  }
}

}  // namespace

int RunModalDialog(std::uint32_t form, const DialogSetup& setup, const DialogProcedure& procedure) {
  const port::WindowHandle dialog =
      gPlatform->dialogs.Create(form, CurrentBoxOwner(), port::DialogKind::kModal);
  if (dialog == 0) return port::kIdCancel;
  WaitingMessages waiting;
  if (setup) setup(dialog);
  gPlatform->dialogs.Show(dialog);
  const BoxOwner owner(dialog);
  const int result = PumpDialog(dialog, procedure, waiting);
  gPlatform->dialogs.Destroy(dialog);
  return result;
}

std::optional<int> EndOnOkOrCancel(port::WindowHandle /*dialog*/, const port::Message& message) {
  if (message.kind == port::MessageKind::kClose) return port::kIdCancel;
  if (message.kind != port::MessageKind::kCommand) return std::nullopt;
  if (message.id == kControlOk) return port::kIdOk;
  if (message.id == kControlCancel) return port::kIdCancel;
  return std::nullopt;
}

}  // namespace quillet
