// SPDX-License-Identifier: GPL-3.0-or-later
// Putting the program's process-wide state back to what it was before its first run: at the end of
// a run, so that another one may follow in the same process, and between tests.
#pragma once

namespace quillet {

// Every source that keeps such state has one, at the top level:
//   const ResetAtEnd kReset([] { gState = {}; });
// So only what is linked takes part. The order is not defined: a reset touches the state of its own
// source alone. What the state stands for (open files, windows, a connection) was ended before.
class ResetAtEnd {
 public:
  explicit ResetAtEnd(void (*reset)());
  ResetAtEnd(const ResetAtEnd&) = delete;
  ResetAtEnd& operator=(const ResetAtEnd&) = delete;

 private:
  friend void ResetProgram();

  void (*reset_)();
  const ResetAtEnd* next_;
};

// Runs them all. Program thread, when no other thread of the program runs.
void ResetProgram();

}  // namespace quillet
