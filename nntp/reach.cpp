// SPDX-License-Identifier: GPL-3.0-or-later
// Each step tells what ended the run, if anything did; the errors that the program knows by name
// have texts of their own.
#include "nntp/reach.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "base/extensions.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "nntp/connection.h"
#include "nntp/run_memory.h"
#include "port/platform.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::uint32_t kDefaultPort = 119;
constexpr std::uint32_t kMillisecondsASecond = 1000;

struct ErrorText {
  int error;
  std::u16string_view text;
};

constexpr std::array<ErrorText, 3> kSocketErrors = {{
    {port::kErrorTooManySockets, u"the PDA has no more sockets available"},
    {port::kErrorNetworkDown, u"the network is down"},
    {port::kErrorNoBuffers, u"the PDA has no buffers available"},
}};
constexpr std::array<ErrorText, 3> kBindErrors = {{
    {port::kErrorAddressInUse, u"the address is already in use"},
    {port::kErrorNetworkDown, u"the network is down"},
    {port::kErrorNoBuffers, u"the PDA has no network buffers available"},
}};
constexpr std::array<ErrorText, 7> kConnectErrors = {{
    {port::kErrorAddressInUse, u"address in use"},
    {port::kErrorNetworkDown, u"the network is down"},
    {port::kErrorNetworkUnreachable, u"the network is unreachable"},
    {port::kErrorHostUnreachable, u"the network is unreachable"},
    {port::kErrorNoBuffers, u"the PDA is out of network buffers"},
    {port::kErrorTimedOut, u"unknown CE connection error; PDA may need rebooting"},
    {port::kErrorRefused, u"the news server refused the connection"},
}};

// When a connection is made again, nobody is to answer a box in between.
void ReportSocketError(std::u16string_view call, std::span<const ErrorText> texts) {
  const int error = gPlatform->sockets.LastError();
  const auto known = std::find_if(texts.begin(), texts.end(),
                                  [&](const ErrorText& t) { return t.error == error; });
  const std::u16string reason = known != texts.end()
                                    ? FormatWide(u"%ls: %ls", call, known->text)
                                    : FormatWide(u"%ls: unknown error %d", call, error);
  if (IsRetry()) return LogError(FormatWide(u"%ls\r\n", reason));
  ReportError(reason, u"OpenConnection");
}

// One part of a dotted quad, taken off the front of `text`; nothing when it is not 0 to 255.
std::optional<std::uint8_t> TakeQuadPart(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  std::uint32_t value = 0;
  std::size_t digits = 0;
  for (; digits < text.size() && text[digits] >= '0' && text[digits] <= '9'; ++digits) {
    value = std::min(value * 10 + static_cast<std::uint32_t>(text[digits] - '0'), 256U);
  }
  if (digits == 0 || value > 255) return std::nullopt;
  text.remove_prefix(digits);
  return static_cast<std::uint8_t>(value);
}

// The address when the whole name is a dotted quad (blanks around it do not matter).
std::optional<port::Address> ParseDottedQuad(std::string_view name) {
  port::Address address;
  for (std::size_t i = 0; i < 4; ++i) {
    if (i > 0) {
      if (!StartsWith(name, ".")) return std::nullopt;
      name.remove_prefix(1);
    }
    const std::optional<std::uint8_t> part = TakeQuadPart(name);
    if (!part) return std::nullopt;
    address.bytes[i] = *part;
  }
  if (name.find_first_not_of(' ') != std::string_view::npos) return std::nullopt;
  return address;
}

}  // namespace

RunEnd TakeSelectedServer() {
  const std::size_t server = gPrefs->selectedserver;
  gConnection.server_name = server < gPrefs->servers.size() ? gPrefs->servers[server] : u"";
  const std::uint32_t port = server < gPrefs->port.size() ? gPrefs->port[server] : kDefaultPort;
  gConnection.port = static_cast<std::uint16_t>(port);
  gConnection.logged_in = false;
  if (const auto security = ReadServerSecurity(*gConnection.server_name)) {
    gConnection.security = *security;
    return RequestedEnd();
  }
  // Not taken for none: what the user has secured must not go out in the clear.
  LogError(u"The security of the news server could not be read.\r\n");
  return RunEnd::kUnreachable;
}

RunEnd OpenSocket() {
  gConnection.wire.Open(gPlatform->sockets.Open());
  if (gConnection.wire.IsOpen()) {
    gConnection.stall_limit = ReadExtensions().stalllimit;
    gPlatform->sockets.SetStallLimit(gConnection.wire.socket(),
                                     gConnection.stall_limit * kMillisecondsASecond);
    return RequestedEnd();
  }
  ReportSocketError(u"socket", kSocketErrors);
  return RunEnd::kUnreachable;
}

RunEnd BindSocket() {
  if (gPlatform->sockets.Bind(gConnection.wire.socket())) return RunEnd::kGoOn;
  if (const RunEnd asked = RequestedEnd(); asked != RunEnd::kGoOn) return asked;
  ReportSocketError(u"bind", kBindErrors);
  return RunEnd::kUnreachable;
}

std::vector<port::Address> FindAddresses(const std::string& host) {
  if (const auto address = ParseDottedQuad(host)) return {*address};
  std::vector<port::Address> addresses = gPlatform->sockets.Resolve(host);
  if (ReadExtensions().alladdresses != 0) return addresses;
  std::erase_if(addresses, [](const port::Address& address) { return address.v6; });
  if (addresses.size() > 1) addresses.resize(1);
  return addresses;
}

RunEnd ConnectSocket() {
  RunEnd end = RunEnd::kGoOn;
  const std::u16string& name = *gConnection.server_name;
  const std::string narrow_name = Narrow(name);
  if (!ParseDottedQuad(narrow_name)) SetProgressTitle(FormatWide(u"Looking up host %ls...", name));
  const std::vector<port::Address> addresses = FindAddresses(narrow_name);
  if (addresses.empty()) {
    if (Ended(end)) return end;
    LogError(FormatWide(u"Unable to find host %ls.\r\n", name));
    return RunEnd::kUnreachable;
  }
  SetProgressDetail(FormatWide(u"Connecting to host %ls...", name));
  if (Ended(end)) return end;
  const bool connected =
      gPlatform->sockets.Connect(gConnection.wire.socket(), addresses, gConnection.port);
  if (Ended(end) || connected) return end;
  ReportSocketError(u"connect", kConnectErrors);
  return RunEnd::kUnreachable;
}

}  // namespace quillet
