// SPDX-License-Identifier: GPL-3.0-or-later
// What ended a long operation before its time, so that whoever started it can tell a Cancel from a
// lost connection from a full disk.
#pragma once

namespace quillet {

enum class RunEnd {
  kGoOn,         // nothing: it goes on, or it came to its end
  kCancelled,    // the user pressed Cancel
  kSessionEnds,  // the device's session ends
  kUnreachable,  // no connection could be made
  kLost,         // the connection was lost
  kRefused,      // the server refused, or answered what cannot be understood
  kStoreFailed,  // the databases or the registry refused
  kNoMemory,
};

}  // namespace quillet
