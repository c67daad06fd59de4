// The real shell, but for links: they are reported instead of opened.
#pragma once

#include <string>

#include "port/linux/opener_link.h"
#include "port/shell.h"
#include "script/reporter.h"

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

}  // namespace quillet
