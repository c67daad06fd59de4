// SPDX-License-Identifier: GPL-3.0-or-later
// How the connection to each news server is secured, and which certificates the user trusts beside
// the system's. Values of their own beside the settings, by the server's name without regard to
// case. Program thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace quillet {

inline constexpr std::u16string_view kServerSecurityPath =
    u"Software\\Brindle\\Quillet\\Extensions\\ServerSecurity";
inline constexpr std::u16string_view kTrustedCertificatesPath =
    u"Software\\Brindle\\Quillet\\Extensions\\TrustedCertificates";

// The numbers are the stored ones and the places in the lists of choices.
enum class ServerSecurity : std::uint32_t { kNone = 0, kTls = 1, kStartTls = 2 };

// What such a list offers, in its order.
std::span<const std::u16string_view> ServerSecurityNames();

constexpr std::uint32_t kPlainPort = 119;
constexpr std::uint32_t kTlsPort = 563;
// The port that goes with that choice: a usual one follows it, any other stays.
std::uint32_t PortFor(ServerSecurity security, std::uint32_t port);

// kNone without a value. One that cannot be understood is kTls: what was secured must not go out in
// the clear. Nothing when the settings cannot be read.
std::optional<ServerSecurity> ReadServerSecurity(std::u16string_view server);

struct SecuredServer {
  std::u16string name;
  ServerSecurity security = ServerSecurity::kNone;
};
// Stores what differs, in one step; servers that are not among these are forgotten. False when it
// could not be stored: until the end of the program these are in force all the same.
bool WriteServerSecurities(std::span<const SecuredServer> servers);

// The fingerprint of the certificate that the user trusts for that server and port; empty: none.
std::string TrustedCertificate(std::u16string_view server, std::uint16_t port);
// False when it could not be stored; it is trusted until the end of the program all the same.
bool TrustCertificate(std::u16string_view server, std::uint16_t port, std::string_view fingerprint);
// Those of every port of the server. False when that could not be stored.
bool ForgetTrustedCertificates(std::u16string_view server);

}  // namespace quillet
