// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/fake_services.h"

#include <algorithm>
#include <utility>

#include "util/text.h"

namespace quillet::port {

std::uint32_t FakeDialler::EnumerateEntries(std::vector<std::u16string>& found) {
  calls.emplace_back("EnumerateEntries");
  found.clear();
  if (!phonebook) return kDialCannotOpenPhonebook;
  for (const auto& entry : entries) found.push_back(entry.first);
  return 0;
}

std::uint32_t FakeDialler::EnumerateConnections(std::uint32_t room, std::uint32_t& count) {
  calls.push_back("EnumerateConnections " + std::to_string(room));
  count = 0;
  if (!phonebook) return kDialCannotOpenPhonebook;
  if (enumerate_result != 0) return enumerate_result;
  count = open_connections + static_cast<std::uint32_t>(dialled.size());
  return count > room ? kDialBufferTooSmall : 0;
}

std::uint32_t FakeDialler::EntryParameters(DialParameters& parameters) {
  calls.push_back("EntryParameters " + ToUtf8(parameters.entry));
  if (!phonebook) return kDialCannotOpenPhonebook;
  const auto entry = entries.find(parameters.entry);
  if (entry == entries.end()) return kDialCannotFindEntry;
  parameters.user = entry->second.user;
  parameters.password = entry->second.password;
  return 0;
}

std::uint32_t FakeDialler::Dial(const DialParameters& parameters, DialHandle& handle) {
  calls.push_back("Dial " + ToUtf8(parameters.entry) + " " + ToUtf8(parameters.user) + " " +
                  ToUtf8(parameters.password));
  handle = 0;
  if (!phonebook) return kDialCannotOpenPhonebook;
  if (!entries.contains(parameters.entry)) return kDialCannotFindEntry;
  if (dial_result == 0 || handle_on_failure) {
    handle = ++last_handle_;
    dialled.push_back(handle);
  }
  return dial_result;
}

std::uint32_t FakeDialler::ConnectStatus(DialHandle handle, std::uint32_t& status) {
  calls.push_back("ConnectStatus " + std::to_string(handle));
  if (std::find(dialled.begin(), dialled.end(), handle) == dialled.end()) return 6;
  if (status_result != 0) return status_result;
  status = dial_result == 0 ? state : kDialStateDisconnected;
  return 0;
}

void FakeDialler::HangUp(DialHandle handle) {
  if (on_hang_up) on_hang_up();
  calls.push_back("HangUp " + std::to_string(handle));
  std::erase(dialled, handle);
}

bool FakeScheduler::RunAppAtTime(std::u16string_view executable, const CalendarTime* at) {
  calls.push_back({std::u16string(executable), at ? std::optional(*at) : std::nullopt});
  return result;
}

bool FakeShell::ForwardToOtherInstance(bool scheduled_download) {
  forwards.push_back(scheduled_download);
  return other_instance;
}

void FakeShell::SetInstanceWindow(WindowHandle window, const InstanceMessages& messages) {
  instance_window = window;
  instance_messages = messages;
  Deliver();
}

bool FakeShell::OpenLink(std::u16string_view target) {
  links.emplace_back(target);
  return link_result;
}

bool FakeShell::OpenGuide() {
  ++guides;
  return guide_result;
}

void FakeShell::ScheduledStartElsewhere() {
  ++waiting_;
  Deliver();
}

void FakeShell::LinkElsewhere(std::u16string_view given) {
  waiting_links_.emplace_back(given);
  Deliver();
}

void FakeShell::Deliver() {
  if (instance_window == 0) return;
  for (; waiting_ > 0; --waiting_) {
    queues_.Post({instance_window, MessageKind::kUser, instance_messages.download, 0, {}});
  }
  for (std::u16string& given : std::exchange(waiting_links_, {})) {
    queues_.Post(
        {instance_window, MessageKind::kUser, instance_messages.link, 0, std::move(given)});
  }
}

}  // namespace quillet::port
