// SPDX-License-Identifier: GPL-3.0-or-later
// What the desktop knows of the program: its command line, its other instance, links.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "port/message.h"

namespace quillet::port {

// The program's own messages (kUser), by their ids, for what later instances ask for.
struct InstanceMessages {
  std::uint32_t download = 0;
  std::uint32_t link = 0;  // text: the link
};

class Shell {
 public:
  virtual ~Shell() = default;

  // The program's arguments (without the profile options), joined by one blank.
  virtual std::u16string CommandLine() = 0;

  // The link to a newsgroup or an article that this start was given, whoever wrote it; empty: none.
  // It is short, though perhaps still too long for a link, and has no control characters.
  virtual std::u16string Link() = 0;

  // True when another instance owns this profile. It was then brought to the front, and when
  // `scheduled_download` is set it was told to start one, else it was given this start's link, if
  // there is one, without waiting for it. False makes this process the owner until it ends; a
  // crashed owner leaves nothing behind that must be cleaned up.
  virtual bool ForwardToOtherInstance(bool scheduled_download) = 0;
  // Whether the other instance, asked last by ForwardToOtherInstance, has this start's link: one
  // that hangs, or of an earlier version, has not.
  virtual bool LinkTaken() = 0;

  // Where requests of later instances go: the window is raised; a scheduled download and a link are
  // posted to it as kUser with these ids. Requests that came before are delivered now. 0: keep
  // them.
  virtual void SetInstanceWindow(WindowHandle window, const InstanceMessages& messages) = 0;

  // Opens the target with the desktop's handler for it; false when none could be started, and for
  // what is not handed on: schemes other than http, https, ftp, news, nntp and mailto, and a mailto
  // that names a file to attach.
  virtual bool OpenLink(std::u16string_view target) = 0;

  // Opens the user guide that came with the program in the same way; false when it is not there or
  // no handler could be started.
  virtual bool OpenGuide() = 0;
};

}  // namespace quillet::port
