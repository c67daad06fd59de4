// SPDX-License-Identifier: GPL-3.0-or-later
// Dialler, scheduler and shell with canned results; every call is recorded.
#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "port/common/thread_queues.h"
#include "port/dialler.h"
#include "port/scheduler.h"
#include "port/shell.h"

namespace quillet::port {

class FakeDialler final : public Dialler {
 public:
  std::uint32_t EnumerateEntries(std::vector<std::u16string>& found) override;
  std::uint32_t EnumerateConnections(std::uint32_t room, std::uint32_t& count) override;
  std::uint32_t EntryParameters(DialParameters& parameters) override;
  std::uint32_t Dial(const DialParameters& parameters, DialHandle& handle) override;
  std::uint32_t ConnectStatus(DialHandle handle, std::uint32_t& state) override;
  void HangUp(DialHandle handle) override;

  // What the device offers; set by the test.
  bool phonebook = true;
  std::map<std::u16string, DialParameters> entries;
  std::uint32_t open_connections = 0;  // opened by others
  std::uint32_t enumerate_result = 0;  // non-zero: EnumerateConnections fails with it
  std::uint32_t dial_result = 0;
  bool handle_on_failure = true;  // a failed Dial hands out a handle that must be hung up
  std::uint32_t status_result = 0;
  std::uint32_t state = kDialStateConnected;

  // Called before a line is hung up.
  std::function<void()> on_hang_up;

  // What happened: "EnumerateEntries", "EnumerateConnections 1", "EntryParameters gprs",
  // "Dial gprs user password", "ConnectStatus 1", "HangUp 1".
  std::vector<std::string> calls;
  // Handles dialled and not hung up.
  std::vector<DialHandle> dialled;

 private:
  DialHandle last_handle_ = 0;
};

class FakeScheduler final : public Scheduler {
 public:
  struct Call {
    std::u16string executable;
    std::optional<CalendarTime> at;  // nothing: cancelled
  };

  bool RunAppAtTime(std::u16string_view executable, const CalendarTime* at) override;

  bool result = true;
  std::vector<Call> calls;
};

class FakeShell final : public Shell {
 public:
  explicit FakeShell(ThreadQueues& queues) : queues_(queues) {}

  std::u16string CommandLine() override { return command_line; }
  std::u16string Link() override { return link; }
  bool LinkTaken() override { return link_taken; }
  bool ForwardToOtherInstance(bool scheduled_download) override;
  void SetInstanceWindow(WindowHandle window, const InstanceMessages& messages) override;
  bool OpenLink(std::u16string_view target) override;
  bool OpenGuide() override;

  // A later instance with the scheduled command line calls: its message comes to the instance
  // window, or waits until there is one.
  void ScheduledStartElsewhere();
  // The same for one with a link.
  void LinkElsewhere(std::u16string_view given);

  std::u16string command_line;
  std::u16string link;
  bool other_instance = false;
  bool link_taken = true;  // by that one
  bool link_result = true;
  bool guide_result = true;

  // What happened: the argument of every ForwardToOtherInstance, every link, how often the guide.
  std::vector<bool> forwards;
  std::vector<std::u16string> links;
  int guides = 0;
  WindowHandle instance_window = 0;
  InstanceMessages instance_messages;

 private:
  void Deliver();

  ThreadQueues& queues_;
  int waiting_ = 0;
  std::vector<std::u16string> waiting_links_;
};

}  // namespace quillet::port
