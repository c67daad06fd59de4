// SPDX-License-Identifier: GPL-3.0-or-later
// The dialler over NetworkManager.
//
// The phone book are its connection profiles of the kinds gsm, cdma, bluetooth, pppoe, vpn and
// wireguard, by their names. Open connections are counted so that "connected" means what the user
// means by it: every active profile of those kinds counts by itself, and when there is none, an
// active profile of any other kind (ethernet, wifi, ...) counts too, all of these together as one,
// because two cables are not two dialled lines. Profiles that only connect this machine to itself
// (loopback, bridge, tun, dummy, veth) never count. Without a bus or without NetworkManager every
// operation answers 621.
#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <string>

#include "port/dialler.h"

namespace quillet::port {

// Codes of failed dialling beyond those of the contract.
constexpr std::uint32_t kDialInvalidHandle = 6;
constexpr std::uint32_t kDialDisconnected = 629;
constexpr std::uint32_t kDialUserDisconnected = 631;
constexpr std::uint32_t kDialTimedOut = 638;
constexpr std::uint32_t kDialNotPermitted = 649;
constexpr std::uint32_t kDialDeviceError = 651;
constexpr std::uint32_t kDialLoginFailed = 691;
constexpr std::uint32_t kDialHardwareFailure = 692;
constexpr std::uint32_t kDialNoAddress = 720;

// The code for the reason that NetworkManager gives for the end of an active connection.
std::uint32_t DialErrorOfReason(std::uint32_t reason);

class LinuxDialler final : public Dialler {
 public:
  static constexpr std::chrono::milliseconds kDialLimit{90'000};

  // An empty address is the system bus.
  explicit LinuxDialler(std::string bus_address = {},
                        std::chrono::milliseconds dial_limit = kDialLimit);

  std::uint32_t EnumerateEntries(std::vector<std::u16string>& entries) override;
  std::uint32_t EnumerateConnections(std::uint32_t room, std::uint32_t& count) override;
  // User and password stay as they are: NetworkManager keeps the secrets itself.
  std::uint32_t EntryParameters(DialParameters& parameters) override;
  std::uint32_t Dial(const DialParameters& parameters, DialHandle& handle) override;
  std::uint32_t ConnectStatus(DialHandle handle, std::uint32_t& state) override;
  void HangUp(DialHandle handle) override;

  // The session ends: Dial stops waiting, now and later. Any thread.
  void Interrupt() { interrupted_ = true; }

 private:
  const std::string bus_address_;
  const std::chrono::milliseconds dial_limit_;
  std::atomic<bool> interrupted_{false};
  std::map<DialHandle, std::string> dialled_;  // to the active connection's object path
  DialHandle last_handle_ = 0;
};

}  // namespace quillet::port
