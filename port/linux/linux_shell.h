// SPDX-License-Identifier: GPL-3.0-or-later
// The shell: one instance a profile, the desktop's opener, the command line.
//
// The owner of a profile holds a lock on "instance.lock" in its configuration folder; the lock goes
// with the process. It listens on the socket whose path stands in the lock file; a later instance
// sends it one line (instance_request.h) and waits a moment for its "ok". The line has the
// desktop's token for the start of the later instance (XDG_ACTIVATION_TOKEN or DESKTOP_STARTUP_ID):
// without it a desktop that guards the focus leaves the window where it is.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "port/linux/file_descriptor.h"
#include "port/linux/profile.h"
#include "port/message_queue.h"
#include "port/shell.h"

namespace quillet::port {

class LinuxShell final : public Shell {
 public:
  // The queues must outlive the shell.
  LinuxShell(Profile profile, std::u16string command_line, std::u16string link,
             MessageQueue& messages);
  ~LinuxShell() override;

  // How a window is raised, with the token or without one (empty); called on the shell's own
  // thread. An empty function: not at all, and no call is under way any more when this returns. Any
  // thread.
  void SetRaise(std::function<void(const std::string& token)> raise);

  std::u16string CommandLine() override { return command_line_; }
  std::u16string Link() override { return link_; }
  // Takes two seconds at most, also when the owner does not answer. False also when no lock can be
  // had at all (a folder that cannot be written).
  bool ForwardToOtherInstance(bool scheduled_download) override;
  bool LinkTaken() override { return link_taken_; }
  void SetInstanceWindow(WindowHandle window, const InstanceMessages& messages) override;
  // What LinkForOpener refuses is not handed on: a link in an article must not reach into this
  // machine.
  bool OpenLink(std::u16string_view target) override;
  bool OpenGuide() override;

  // What a later instance asks for: the download is posted to the instance window, or kept until
  // there is one. Any thread.
  void RequestDownload();
  // The same for a link.
  void RequestLink(std::u16string_view link);
  // Posts kEndSession to the instance window, or once there is one. Any thread.
  void EndSession();

 private:
  void Listen();
  void Serve();
  void Answer(int client);
  void Raise(const std::string& token);
  void Deliver();

  const Profile profile_;
  const std::u16string command_line_;
  const std::u16string link_;
  // Of this start; read before any toolkit takes it out of the environment.
  const std::string activation_token_;
  MessageQueue& messages_;

  std::mutex raise_mutex_;  // held while a window is raised
  std::function<void(const std::string& token)> raise_;

  std::mutex mutex_;  // guards the requests and the window
  WindowHandle window_ = 0;
  InstanceMessages messages_of_instance_;
  bool raise_wanted_ = false;
  std::string raise_token_;
  bool end_wanted_ = false;
  int downloads_wanted_ = 0;
  std::vector<std::u16string> links_wanted_;

  bool link_taken_ = false;
  FileDescriptor lock_;
  FileDescriptor listener_;
  FileDescriptor end_event_;
  std::thread listening_;
};

}  // namespace quillet::port
