// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/bus.h"

#include <utility>

namespace quillet::port {
namespace {

constexpr std::uint64_t kCallLimitMicroseconds = 10'000'000;
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";

}  // namespace

BusConnection OpenBus(const std::string& address) {
  sd_bus* bus = nullptr;
  if (address.empty()) {
    if (sd_bus_open_system(&bus) < 0) return nullptr;
    BusConnection connection(bus);
    sd_bus_set_method_call_timeout(bus, kCallLimitMicroseconds);
    return connection;
  }
  if (sd_bus_new(&bus) < 0) return nullptr;
  BusConnection connection(bus);
  if (sd_bus_set_address(bus, address.c_str()) < 0 || sd_bus_set_bus_client(bus, 1) < 0 ||
      sd_bus_set_method_call_timeout(bus, kCallLimitMicroseconds) < 0 || sd_bus_start(bus) < 0) {
    return nullptr;
  }
  return connection;
}

BusMessage BusService::Send(BusMessage request) {
  sd_bus_error error{};
  sd_bus_message* reply = nullptr;
  error_.clear();
  sd_bus_message_set_auto_start(request.get(), 0);
  const int result = sd_bus_call(bus_, request.get(), 0, &error, &reply);
  if (result < 0) error_ = error.name != nullptr ? error.name : SD_BUS_ERROR_FAILED;
  sd_bus_error_free(&error);
  return BusMessage(reply);
}

BusMessage BusService::Call(const BusObject& object, const char* method,
                            const std::vector<std::string>& paths) {
  sd_bus_message* request = nullptr;
  error_ = SD_BUS_ERROR_INVALID_ARGS;
  if (sd_bus_message_new_method_call(bus_, &request, name_, object.path.c_str(), object.interface,
                                     method) < 0) {
    return nullptr;
  }
  BusMessage owned(request);
  for (const std::string& path : paths) {
    if (sd_bus_message_append(request, "o", path.c_str()) < 0) return nullptr;
  }
  return Send(std::move(owned));
}

// The reply, positioned inside the variant.
BusMessage BusService::Property(const BusObject& object, const char* name, const char* type) {
  sd_bus_message* request = nullptr;
  error_ = SD_BUS_ERROR_INVALID_ARGS;
  if (sd_bus_message_new_method_call(bus_, &request, name_, object.path.c_str(), kProperties,
                                     "Get") < 0) {
    return nullptr;
  }
  BusMessage owned(request);
  if (sd_bus_message_append(request, "ss", object.interface, name) < 0) return nullptr;
  BusMessage reply = Send(std::move(owned));
  if (!reply) return nullptr;
  if (sd_bus_message_enter_container(reply.get(), SD_BUS_TYPE_VARIANT, type) <= 0) {
    error_ = SD_BUS_ERROR_INVALID_SIGNATURE;
    return nullptr;
  }
  return reply;
}

std::optional<std::uint32_t> BusService::UintProperty(const BusObject& object, const char* name) {
  const BusMessage reply = Property(object, name, "u");
  std::uint32_t value = 0;
  if (!reply || sd_bus_message_read(reply.get(), "u", &value) < 0) return std::nullopt;
  return value;
}

std::optional<std::string> BusService::TextProperty(const BusObject& object, const char* name) {
  const BusMessage reply = Property(object, name, "s");
  const char* value = nullptr;
  if (!reply || sd_bus_message_read(reply.get(), "s", &value) < 0) return std::nullopt;
  return std::string(value);
}

std::optional<std::vector<std::string>> BusService::PathsProperty(const BusObject& object,
                                                                  const char* name) {
  const BusMessage reply = Property(object, name, "ao");
  if (!reply) return std::nullopt;
  return ReadPaths(reply.get());
}

std::vector<std::string> ReadPaths(sd_bus_message* message) {
  std::vector<std::string> paths;
  if (sd_bus_message_enter_container(message, SD_BUS_TYPE_ARRAY, "o") <= 0) return paths;
  const char* path = nullptr;
  while (sd_bus_message_read(message, "o", &path) > 0) paths.emplace_back(path);
  sd_bus_message_exit_container(message);
  return paths;
}

}  // namespace quillet::port
