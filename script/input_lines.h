// SPDX-License-Identifier: GPL-3.0-or-later
// Lines of standard input that another thread can cut short.
#pragma once

#include <optional>
#include <string>

#include "port/linux/file_descriptor.h"

namespace quillet {

class InputLines {
 public:
  // `descriptor` stays the caller's.
  explicit InputLines(int descriptor);

  // The next line without its line end; nothing at the end of the input or after Stop. A last line
  // without a line end counts.
  std::optional<std::string> Next();
  // Ends every Next, now and later. Any thread.
  void Stop();

 private:
  // False at the end of the input.
  bool ReadMore();

  int descriptor_;
  port::FileDescriptor stop_event_;
  std::string pending_;
  std::size_t searched_ = 0;  // no line end before it
  bool ended_ = false;
};

}  // namespace quillet
