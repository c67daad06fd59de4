// SPDX-License-Identifier: GPL-3.0-or-later
// The process that supervises a mail program (mail_hand_over.h): what it needs, what it tells, what
// it does. It is the child of a fork in a program with threads, so it works on plain memory that
// was prepared before, with async-signal-safe calls only.
#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <type_traits>

namespace quillet::port {

constexpr std::size_t kMostOutput = 600;  // bytes kept of what the program says

enum class MailOutcome : int { kNotMoved, kNotStarted, kSent, kFailed, kUnknown };

// What it tells, in one write.
struct MailReport {
  MailOutcome outcome = MailOutcome::kNotMoved;
  int error = 0;        // system error number
  int exit_status = 0;  // of the program
  int signal = 0;       // that ended it; 0: it ended by itself
  bool timed_out = false;
  bool cancelled = false;
  std::size_t output_size = 0;
  std::array<char, kMostOutput> output{};
};
static_assert(std::is_trivially_copyable_v<MailReport> && sizeof(MailReport) < 4096);

// All that it needs; borrowed.
struct MailPlan {
  const char* program = nullptr;
  char* const* arguments = nullptr;
  char* const* environment = nullptr;
  const char* waiting = nullptr;
  const char* under_way = nullptr;
  const char* sent = nullptr;
  int lock = -1;     // the message, locked
  int message = -1;  // the message at its beginning, or nothing to read
  int nothing = -1;  // what has no end and no beginning
  int waiting_folder = -1;
  int under_way_folder = -1;
  int sent_folder = -1;
  int control = -1;  // a byte: end the program
  int result = -1;
  off_t size = 0;
  bool reads_message = true;
  bool shows_message = false;
  int limit_ms = 0;
};

// All descriptors of the process but those in the plan are closed. Never returns.
[[noreturn]] void SuperviseMailProgram(const MailPlan& plan);

}  // namespace quillet::port
