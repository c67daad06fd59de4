// SPDX-License-Identifier: GPL-3.0-or-later
// The real shell, but for links: they are reported instead of opened.
#pragma once

#include <string>

#include "port/linux/guide_file.h"
#include "port/linux/opener_link.h"
#include "port/shell.h"
#include "script/reporter.h"

namespace quillet {

class ScriptShell final : public port::Shell {
 public:
  ScriptShell(port::Shell& shell, Reporter& reporter) : shell_(shell), reporter_(reporter) {}

  std::u16string CommandLine() override { return shell_.CommandLine(); }
  std::u16string Link() override { return shell_.Link(); }
  bool LinkTaken() override { return shell_.LinkTaken(); }
  bool ForwardToOtherInstance(bool scheduled_download) override {
    const bool forwarded = shell_.ForwardToOtherInstance(scheduled_download);
    if (!forwarded) return false;
    JsonObject told;
    told.Add("download", scheduled_download);
    if (!shell_.Link().empty()) told.Add("link", shell_.Link());
    reporter_.Report("forwarded", told);
    return true;
  }
  void SetInstanceWindow(port::WindowHandle window,
                         const port::InstanceMessages& messages) override {
    shell_.SetInstanceWindow(window, messages);
  }
  // No browser appears during a scripted run; what would not be opened is refused all the same.
  bool OpenLink(std::u16string_view target) override {
    const bool opened = !port::LinkForOpener(target).empty();
    reporter_.Report("link", JsonObject().Add("target", target).Add("opened", opened));
    return opened;
  }
  // Nor a guide, where one is.
  bool OpenGuide() override {
    const bool opened = !port::GuideFile().empty();
    reporter_.Report("guide", JsonObject().Add("opened", opened));
    return opened;
  }

 private:
  port::Shell& shell_;
  Reporter& reporter_;
};

}  // namespace quillet
