// SPDX-License-Identifier: GPL-3.0-or-later
// The dialler: connections of the phone book that the program may bring up and take down.
// Program thread only; Dial blocks until the connection stands or failed. Error codes are 0 for
// success or one of the numbers below or another non-zero number of the system.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillet::port {

using DialHandle = std::uint32_t;  // 0 = none

constexpr std::uint32_t kDialBufferTooSmall = 603;
constexpr std::uint32_t kDialCannotOpenPhonebook = 621;
constexpr std::uint32_t kDialCannotFindEntry = 623;
constexpr std::uint32_t kDialRejected = 628;

constexpr std::uint32_t kDialStateConnected = 0x2000;
constexpr std::uint32_t kDialStateDisconnected = 0x2001;

struct DialParameters {
  std::u16string entry;
  std::u16string user;
  std::u16string password;
};

class Dialler {
 public:
  virtual ~Dialler() = default;

  // Names of the phone-book entries in `entries`; 621 when there is no phone book.
  virtual std::uint32_t EnumerateEntries(std::vector<std::u16string>& entries) = 0;
  // Number of open connections in `count`, whoever opened them. 603 when there are more than
  // `room`; 621 when there is no phone book.
  virtual std::uint32_t EnumerateConnections(std::uint32_t room, std::uint32_t& count) = 0;
  // Completes the parameters of parameters.entry from the phone book.
  virtual std::uint32_t EntryParameters(DialParameters& parameters) = 0;
  // Dials. `handle` may be non-zero also when dialling failed: it must then be hung up.
  virtual std::uint32_t Dial(const DialParameters& parameters, DialHandle& handle) = 0;
  // State of a connection in `state`; non-zero result for an unknown handle.
  virtual std::uint32_t ConnectStatus(DialHandle handle, std::uint32_t& state) = 0;
  // Takes the connection down and forgets the handle; 0 or an unknown handle does nothing.
  virtual void HangUp(DialHandle handle) = 0;
};

}  // namespace quillet::port
