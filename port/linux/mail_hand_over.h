// SPDX-License-Identifier: GPL-3.0-or-later
// Handing one message over to a mail program, by a small process of its own that outlives this one:
// it holds a lock on the message's file, moves the file on before and after the program's run, and
// so leaves a state that is known whenever anything is killed. No shell is ever used.
//
//   waiting -> under way   before the program starts, synced
//   under way -> sent      it ended with 0
//   under way -> waiting   it failed, or was ended before it had read the whole message
//
// A message stays under way when nobody can tell any more whether it was handed over. Program
// thread only.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace quillet::port {

struct HandOverOrder {
  std::string program;                 // native path
  std::vector<std::string> arguments;  // from its name on
  bool reads_message = true;           // on its standard input; otherwise nothing is there
  // It shows the mail to the user: one that still runs when the time is over has got it, and is
  // left alone.
  bool shows_message = false;
  int limit_ms = 30000;
  // The message's file in each state, native paths on one file system.
  std::string waiting;
  std::string under_way;
  std::string sent;
};

enum class HandOverEnd {
  kSent,
  kFailed,   // it waits again
  kUnknown,  // it may have been sent
  kBusy,     // another process hands it over, or it is not there any more
};

struct HandOverResult {
  HandOverEnd end = HandOverEnd::kFailed;
  std::string reason;  // of kFailed and kUnknown: UTF-8, one line, goes on a sentence
};

// Returns when the program has ended, at most some seconds after the limit or after `interrupted`
// first says true, which is asked now and then.
HandOverResult HandOverMessage(const HandOverOrder& order,
                               const std::function<bool()>& interrupted);

}  // namespace quillet::port
