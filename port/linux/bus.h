// SPDX-License-Identifier: GPL-3.0-or-later
// Calls to a service on the message bus, in the few shapes that are needed. One thread at a time.
#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillet::port {

struct BusMessageRelease {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusMessage = std::unique_ptr<sd_bus_message, BusMessageRelease>;

struct BusRelease {
  void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
using BusConnection = std::unique_ptr<sd_bus, BusRelease>;

// An empty address is the system bus. Null when there is no bus.
BusConnection OpenBus(const std::string& address);

struct BusObject {
  std::string path;
  const char* interface = "";
};

// One service's objects on one bus. Every failure is an empty result; Error tells more.
class BusService {
 public:
  BusService(sd_bus* bus, const char* name) : bus_(bus), name_(name) {}

  // Calls a method whose arguments are object paths. The service is not started for it.
  BusMessage Call(const BusObject& object, const char* method,
                  const std::vector<std::string>& paths = {});
  std::optional<std::uint32_t> UintProperty(const BusObject& object, const char* name);
  std::optional<std::string> TextProperty(const BusObject& object, const char* name);
  std::optional<std::vector<std::string>> PathsProperty(const BusObject& object, const char* name);

  // Name of the last call's D-Bus error; empty when it succeeded.
  const std::string& Error() const { return error_; }

 private:
  BusMessage Send(BusMessage request);
  BusMessage Property(const BusObject& object, const char* name, const char* type);

  sd_bus* bus_;
  const char* name_;
  std::string error_;
};

// The object paths in an array ("ao") at the message's read position.
std::vector<std::string> ReadPaths(sd_bus_message* message);

}  // namespace quillet::port
