// What stands between the program and the real services: the end of the session is noticed, and
// links are reported instead of opened.
#pragma once

#include <string>

#include "port/linux/linux_shell.h"
#include "port/message_queue.h"
#include "port/shell.h"
#include "script/script_run.h"

namespace quillet {

class ScriptShell final : public port::Shell {
 public:
  ScriptShell(port::Shell& shell, Reporter& reporter) : shell_(shell), reporter_(reporter) {}

  std::u16string CommandLine() override { return shell_.CommandLine(); }
  bool ForwardToOtherInstance(bool scheduled_download) override {
    const bool forwarded = shell_.ForwardToOtherInstance(scheduled_download);
    if (forwarded) reporter_.Report("forwarded", JsonObject().Add("download", scheduled_download));
    return forwarded;
  }
  void SetInstanceWindow(port::WindowHandle window, std::uint32_t scheduled_message) override {
    shell_.SetInstanceWindow(window, scheduled_message);
  }
  // No browser appears during a scripted run; what would not be opened is refused all the same.
  bool OpenLink(std::u16string_view target) override {
    const bool opened = !port::LinkForOpener(target).empty();
    reporter_.Report("link", JsonObject().Add("target", target).Add("opened", opened));
    return opened;
  }

 private:
  port::Shell& shell_;
  Reporter& reporter_;
};

class ScriptQueue final : public port::MessageQueue {
 public:
  ScriptQueue(port::MessageQueue& queue, ScriptRun& run) : queue_(queue), run_(run) {}

  bool Get(port::Message& message) override {
    const bool more = queue_.Get(message);
    if (more && message.kind == port::MessageKind::kEndSession) run_.NoteSessionEnd();
    return more;
  }
  void Post(const port::Message& message) override { queue_.Post(message); }
  void PostQuit(int code) override { queue_.PostQuit(code); }
  void SetTimer(port::WindowHandle window, std::uint32_t id, std::uint32_t milliseconds) override {
    queue_.SetTimer(window, id, milliseconds);
  }
  void KillTimer(port::WindowHandle window, std::uint32_t id) override {
    queue_.KillTimer(window, id);
  }

 private:
  port::MessageQueue& queue_;
  ScriptRun& run_;
};

}  // namespace quillet
