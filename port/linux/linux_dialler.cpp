// SPDX-License-Identifier: GPL-3.0-or-later
// Each operation opens the bus anew and closes it again: dialling is rare, and no connection can
// then go stale in between. Dial listens for state changes before it asks for the activation and
// pumps the bus in short slices, so that Interrupt and the time limit end it. States and reasons of
// NetworkManager become the service's codes by tables.
#include "port/linux/linux_dialler.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "port/linux/bus.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr const char* kService = "org.freedesktop.NetworkManager";
constexpr const char* kActiveInterface = "org.freedesktop.NetworkManager.Connection.Active";
constexpr const char* kProfileInterface = "org.freedesktop.NetworkManager.Settings.Connection";
const BusObject kManager{"/org/freedesktop/NetworkManager", kService};
const BusObject kSettings{"/org/freedesktop/NetworkManager/Settings",
                          "org.freedesktop.NetworkManager.Settings"};

constexpr std::array<std::string_view, 6> kPhoneBookKinds = {"gsm",   "cdma", "bluetooth",
                                                             "pppoe", "vpn",  "wireguard"};
constexpr std::array<std::string_view, 6> kInternalKinds = {"loopback", "bridge", "tun",
                                                            "dummy",    "veth",   "generic"};

constexpr std::uint32_t kActivated = 2;
constexpr std::uint32_t kDeactivated = 4;
constexpr std::uint64_t kSliceMicroseconds = 100'000;

struct ReasonCode {
  std::uint32_t reason;
  std::uint32_t code;
};

constexpr ReasonCode kReasonCodes[] = {
    {2, kDialUserDisconnected},  // the user took it down
    {3, kDialDisconnected},      // the device was disconnected
    {4, kDialDisconnected},      // the VPN service stopped
    {5, kDialNoAddress},         // unusable IP configuration
    {6, kDialTimedOut},          // the connection attempt timed out
    {7, kDialTimedOut},          // the VPN service did not start in time
    {8, kDialDeviceError},       // the VPN service failed to start
    {9, kDialLoginFailed},       // no secrets were given
    {10, kDialLoginFailed},      // the login was refused
    {11, kDialCannotFindEntry},  // the profile was deleted
    {12, kDialDeviceError},      // a connection it stands on failed
    {13, kDialHardwareFailure},  // the device could not be made
    {14, kDialHardwareFailure},  // the device was removed
};

template <std::size_t N>
bool Contains(const std::array<std::string_view, N>& kinds, std::string_view kind) {
  return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

struct ConnectionProfile {
  std::string path;
  std::string name;
  std::string kind;
};

// Takes one variant from the message: its text when it holds one.
bool ReadTextVariant(sd_bus_message* message, std::string& text) {
  const char* contents = nullptr;
  char type = 0;
  if (sd_bus_message_peek_type(message, &type, &contents) <= 0 || type != SD_BUS_TYPE_VARIANT) {
    return false;
  }
  if (std::string_view(contents) != "s") return sd_bus_message_skip(message, "v") >= 0;
  const char* value = nullptr;
  if (sd_bus_message_read(message, "v", "s", &value) < 0) return false;
  text = value;
  return true;
}

// Reads the "connection" group of a profile's settings (a{sa{sv}}).
bool ReadSettings(sd_bus_message* message, ConnectionProfile& profile) {
  if (sd_bus_message_enter_container(message, 'a', "{sa{sv}}") <= 0) return false;
  while (sd_bus_message_enter_container(message, 'e', "sa{sv}") > 0) {
    const char* group = nullptr;
    if (sd_bus_message_read(message, "s", &group) < 0) return false;
    const bool wanted = std::string_view(group) == "connection";
    if (sd_bus_message_enter_container(message, 'a', "{sv}") < 0) return false;
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
      const char* key = nullptr;
      std::string value;
      if (sd_bus_message_read(message, "s", &key) < 0) return false;
      const std::string_view name = key;
      if (!ReadTextVariant(message, value)) return false;
      if (wanted && name == "id") profile.name = value;
      if (wanted && name == "type") profile.kind = value;
      sd_bus_message_exit_container(message);
    }
    sd_bus_message_exit_container(message);
    sd_bus_message_exit_container(message);
  }
  return true;
}

// The profiles of the phone book; nothing when there is none to ask.
std::optional<std::vector<ConnectionProfile>> PhoneBook(BusService& service) {
  const BusMessage list = service.Call(kSettings, "ListConnections");
  if (!list) return std::nullopt;
  std::vector<ConnectionProfile> book;
  for (const std::string& path : ReadPaths(list.get())) {
    ConnectionProfile profile{path, {}, {}};
    const BusMessage settings = service.Call({path, kProfileInterface}, "GetSettings");
    // One that was deleted meanwhile, or belongs to another user, is left out.
    if (!settings || !ReadSettings(settings.get(), profile)) continue;
    if (Contains(kPhoneBookKinds, profile.kind)) book.push_back(std::move(profile));
  }
  return book;
}

std::uint32_t CountConnections(BusService& service, const std::vector<std::string>& active) {
  std::uint32_t dialled = 0;
  bool others = false;
  for (const std::string& path : active) {
    const BusObject connection{path, kActiveInterface};
    const auto kind = service.TextProperty(connection, "Type");
    if (!kind || service.UintProperty(connection, "State") != kActivated) continue;
    if (Contains(kPhoneBookKinds, *kind)) {
      ++dialled;
    } else if (!Contains(kInternalKinds, *kind)) {
      others = true;
    }
  }
  return dialled == 0 && others ? 1 : dialled;
}

std::uint32_t FindEntry(BusService& service, std::u16string_view entry, std::string& path) {
  const auto book = PhoneBook(service);
  if (!book) return kDialCannotOpenPhonebook;
  const std::string name = ToUtf8(entry);
  for (const ConnectionProfile& profile : *book) {
    if (profile.name != name) continue;
    path = profile.path;
    return 0;
  }
  return kDialCannotFindEntry;
}

std::uint32_t DialErrorOfName(std::string_view error) {
  if (error.find("NoReply") != error.npos || error.find("Timeout") != error.npos) {
    return kDialTimedOut;
  }
  if (error.find("ServiceUnknown") != error.npos || error.find("NameHasNoOwner") != error.npos) {
    return kDialCannotOpenPhonebook;
  }
  if (error.find("UnknownConnection") != error.npos) return kDialCannotFindEntry;
  if (error.find("PermissionDenied") != error.npos || error.find("AccessDenied") != error.npos) {
    return kDialNotPermitted;
  }
  return kDialDeviceError;
}

// The last state change that a signal reported for any active connection.
struct StateChange {
  std::string path;
  std::uint32_t state = 0;
  std::uint32_t reason = 0;
};

using StateChanges = std::vector<StateChange>;

int NoteStateChange(sd_bus_message* message, void* data, sd_bus_error* /*error*/) {
  StateChange change;
  const char* path = sd_bus_message_get_path(message);
  if (path != nullptr && sd_bus_message_read(message, "uu", &change.state, &change.reason) > 0) {
    change.path = path;
    static_cast<StateChanges*>(data)->push_back(std::move(change));
  }
  return 0;
}

std::uint32_t ReasonOf(const StateChanges& changes, std::string_view path) {
  for (auto it = changes.rbegin(); it != changes.rend(); ++it) {
    if (it->path == path && it->state == kDeactivated) return it->reason;
  }
  return 0;
}

// Pumps the bus until the connection stands (0) or failed (its code).
std::uint32_t WaitUntilActive(sd_bus* bus, const std::string& path, const StateChanges& changes,
                              std::chrono::milliseconds limit, const std::atomic<bool>& stop) {
  BusService service(bus, kService);
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!stop && std::chrono::steady_clock::now() < end) {
    const auto state = service.UintProperty({path, kActiveInterface}, "State");
    if (state == kActivated) return 0;
    int processed = 0;
    while ((processed = sd_bus_process(bus, nullptr)) > 0) {
    }
    if (processed < 0) return kDialCannotOpenPhonebook;
    // One that failed is soon gone, and then has no state any more.
    if (!state || *state == kDeactivated) return DialErrorOfReason(ReasonOf(changes, path));
    if (sd_bus_wait(bus, kSliceMicroseconds) < 0) return kDialCannotOpenPhonebook;
  }
  return kDialTimedOut;
}

}  // namespace

std::uint32_t DialErrorOfReason(std::uint32_t reason) {
  for (const ReasonCode& entry : kReasonCodes) {
    if (entry.reason == reason) return entry.code;
  }
  return kDialDisconnected;
}

LinuxDialler::LinuxDialler(std::string bus_address, std::chrono::milliseconds dial_limit)
    : bus_address_(std::move(bus_address)), dial_limit_(dial_limit) {}

std::uint32_t LinuxDialler::EnumerateEntries(std::vector<std::u16string>& entries) {
  entries.clear();
  const BusConnection bus = OpenBus(bus_address_);
  if (!bus) return kDialCannotOpenPhonebook;
  BusService service(bus.get(), kService);
  const auto book = PhoneBook(service);
  if (!book) return kDialCannotOpenPhonebook;
  for (const ConnectionProfile& profile : *book) entries.push_back(FromUtf8(profile.name));
  std::sort(entries.begin(), entries.end());
  entries.erase(std::unique(entries.begin(), entries.end()), entries.end());
  return 0;
}

std::uint32_t LinuxDialler::EnumerateConnections(std::uint32_t room, std::uint32_t& count) {
  count = 0;
  const BusConnection bus = OpenBus(bus_address_);
  if (!bus) return kDialCannotOpenPhonebook;
  BusService service(bus.get(), kService);
  const auto active = service.PathsProperty(kManager, "ActiveConnections");
  if (!active) return kDialCannotOpenPhonebook;
  count = CountConnections(service, *active);
  return count > room ? kDialBufferTooSmall : 0;
}

std::uint32_t LinuxDialler::EntryParameters(DialParameters& parameters) {
  const BusConnection bus = OpenBus(bus_address_);
  if (!bus) return kDialCannotOpenPhonebook;
  BusService service(bus.get(), kService);
  std::string path;
  return FindEntry(service, parameters.entry, path);
}

std::uint32_t LinuxDialler::Dial(const DialParameters& parameters, DialHandle& handle) {
  handle = 0;
  const BusConnection bus = OpenBus(bus_address_);
  if (!bus) return kDialCannotOpenPhonebook;
  BusService service(bus.get(), kService);
  std::string profile;
  if (const std::uint32_t error = FindEntry(service, parameters.entry, profile)) return error;
  // Listening begins before the activation, so that no early failure is missed.
  StateChanges changes;
  sd_bus_match_signal(bus.get(), nullptr, kService, nullptr, kActiveInterface, "StateChanged",
                      NoteStateChange, &changes);
  const BusMessage reply = service.Call(kManager, "ActivateConnection", {profile, "/", "/"});
  const char* active = nullptr;
  if (!reply) return DialErrorOfName(service.Error());
  if (sd_bus_message_read(reply.get(), "o", &active) <= 0) return kDialDeviceError;
  handle = ++last_handle_;
  dialled_[handle] = active;
  return WaitUntilActive(bus.get(), active, changes, dial_limit_, interrupted_);
}

std::uint32_t LinuxDialler::ConnectStatus(DialHandle handle, std::uint32_t& state) {
  state = kDialStateDisconnected;
  const auto found = dialled_.find(handle);
  if (found == dialled_.end()) return kDialInvalidHandle;
  const BusConnection bus = OpenBus(bus_address_);
  if (!bus) return 0;
  BusService service(bus.get(), kService);
  const auto native = service.UintProperty({found->second, kActiveInterface}, "State");
  if (native == kActivated) state = kDialStateConnected;
  return 0;
}

void LinuxDialler::HangUp(DialHandle handle) {
  const auto found = dialled_.find(handle);
  if (found == dialled_.end()) return;
  const std::string path = found->second;
  dialled_.erase(found);
  const BusConnection bus = OpenBus(bus_address_);
  if (!bus) return;
  BusService service(bus.get(), kService);
  service.Call(kManager, "DeactivateConnection", {path});
}

}  // namespace quillet::port
