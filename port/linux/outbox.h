// SPDX-License-Identifier: GPL-3.0-or-later
// The outbox on the disk: two mail folders of the usual shape below the data folder, so that any
// mail reader can open them, and what the hand-over has to know of each message beside them.
//
//   outbox/tmp/ID      a message while it is written
//   outbox/new/ID      waits
//   outbox/cur/ID:2,   is being handed over by a process that holds a lock (flock) on it; without
//                      one it is not known whether it was handed over
//   sent/cur/ID:2,S    was handed over; kept, so that no message is ever sent twice
//   outbox/info/ID     its service, recipients and subject, and why it waits
//
// A message changes its state by one rename. Program thread only; the renames on the way out are
// made by the process that hands a message over (mail_hand_over.h).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillet::port {

// All texts are UTF-8 in one line.
struct OutboxInfo {
  std::string service;
  std::string to;
  std::string subject;
  std::string reason;  // why it waits
  std::string held;    // why it is not known whether it was handed over
};

enum class OutboxState { kWaiting, kUnderWay, kUnknown };

struct OutboxEntry {
  std::string id;
  OutboxState state = OutboxState::kWaiting;
  std::string file;  // native path
};

class Outbox {
 public:
  explicit Outbox(const std::string& data_folder);

  // Makes the folders. 0, or the number of what is in the way (port/files.h).
  std::uint32_t Prepare();
  // Writes the message into the outbox, synced. 0, or why not; nothing of it is there then.
  std::uint32_t Put(const std::string& id, std::string_view message, const OutboxInfo& info);
  // In whatever state, also handed over.
  bool Has(const std::string& id) const;
  // What is there and was not handed over, the oldest first.
  std::vector<OutboxEntry> Entries() const;

  OutboxInfo Info(const std::string& id) const;
  bool SetInfo(const std::string& id, const OutboxInfo& info) const;
  void ForgetInfo(const std::string& id) const;
  // Of at most kLongestMessage bytes; nothing when it cannot be read.
  static std::optional<std::string> Read(const std::string& file);
  static constexpr std::uint64_t kLongestMessage = 256ULL * 1024 * 1024;

  // Native paths.
  std::string NewFolder() const { return outbox_ + "/new"; }
  std::string UnderWayFolder() const { return outbox_ + "/cur"; }
  std::string SentFolder() const { return sent_ + "/cur"; }
  std::string UnderWayFile(const std::string& id) const {
    return UnderWayFolder() + "/" + id + ":2,";
  }
  std::string SentFile(const std::string& id) const { return SentFolder() + "/" + id + ":2,S"; }

 private:
  std::string TmpFile(const std::string& name) const { return outbox_ + "/tmp/" + name; }
  std::string InfoFile(const std::string& id) const { return outbox_ + "/info/" + id; }

  const std::string data_folder_;
  const std::string outbox_;
  const std::string sent_;
};

// Letters, digits and "-", at most 200.
bool IsMailId(std::string_view id);
// The number that port/files.h has for a system error number.
std::uint32_t FileErrorNumber(int system_error);

}  // namespace quillet::port
