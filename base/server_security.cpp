// SPDX-License-Identifier: GPL-3.0-or-later
// Values are never removed from a registry: a number 0 and an empty text stand for what is no more.
// What could not be written is kept here, in front of what is stored.
#include "base/server_security.h"

#include <algorithm>
#include <array>
#include <map>
#include <memory>

#include "base/registry_values.h"
#include "base/reset.h"
#include "port/platform.h"
#include "port/registry.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

using Securities = std::map<std::u16string, ServerSecurity>;
using Fingerprints = std::map<std::u16string, std::u16string>;

// By folded names; of the securities all of them, when any could not be stored.
std::unique_ptr<Securities> gUnstoredSecurities;
Fingerprints gUnstoredFingerprints;

const ResetAtEnd kReset([] {
  gUnstoredSecurities.reset();
  gUnstoredFingerprints.clear();
});

constexpr auto kNames =
    std::to_array<std::u16string_view>({u"None", u"TLS from the start", u"STARTTLS"});

// As the registry compares names.
std::u16string Folded(std::u16string_view name) {
  std::u16string folded(name);
  for (char16_t& unit : folded) unit = ToLowerAscii(unit);
  return folded;
}

std::u16string PlaceOf(std::u16string_view server, std::uint16_t port) {
  return FormatWide(u"%ls:%lu", server, port);
}

ServerSecurity SecurityOf(const port::RegistryValue& value) {
  if (value.type != port::RegistryType::kDword || value.data.size() != 4) {
    return ServerSecurity::kTls;
  }
  const auto number = static_cast<unsigned char>(value.data[0]);
  const bool known = number < kNames.size() && value.data.substr(1) == std::string(3, '\0');
  return known ? static_cast<ServerSecurity>(number) : ServerSecurity::kTls;
}

// What is stored, without those that have none.
Securities StoredIn(port::RegistryKey& key) {
  Securities stored;
  for (const port::NamedRegistryValue& value : key.Values()) {
    const ServerSecurity security = SecurityOf(value.value);
    if (security != ServerSecurity::kNone) stored[Folded(value.name)] = security;
  }
  return stored;
}

Securities Wanted(std::span<const SecuredServer> servers) {
  Securities wanted;
  for (const SecuredServer& server : servers) {
    if (server.security != ServerSecurity::kNone) wanted[Folded(server.name)] = server.security;
  }
  return wanted;
}

bool WriteDifferences(port::RegistryKey& key, const Securities& wanted) {
  Securities left = StoredIn(key);
  bool written = key.Begin();
  for (const auto& [name, security] : wanted) {
    const auto stored = left.find(name);
    const bool same = stored != left.end() && stored->second == security;
    if (stored != left.end()) left.erase(stored);
    if (!same) written = WriteDword(key, name, static_cast<std::uint32_t>(security)) && written;
  }
  for (const auto& [name, security] : left) {
    written = WriteDword(key, name, static_cast<std::uint32_t>(ServerSecurity::kNone)) && written;
  }
  return key.Commit() && written;
}

bool StoreFingerprint(const std::u16string& place, std::u16string_view fingerprint) {
  const auto key = gPlatform->registry.Create(kTrustedCertificatesPath);
  if (key && WriteText(*key, place, fingerprint)) {
    gUnstoredFingerprints.erase(Folded(place));
    return true;
  }
  gUnstoredFingerprints[Folded(place)] = fingerprint;
  return false;
}

}  // namespace

std::span<const std::u16string_view> ServerSecurityNames() {
  return kNames;
}

std::uint32_t PortFor(ServerSecurity security, std::uint32_t port) {
  if (security == ServerSecurity::kTls) return port == kPlainPort ? kTlsPort : port;
  return port == kTlsPort ? kPlainPort : port;
}

std::optional<ServerSecurity> ReadServerSecurity(std::u16string_view server) {
  if (gUnstoredSecurities) {
    const auto found = gUnstoredSecurities->find(Folded(server));
    return found != gUnstoredSecurities->end() ? found->second : ServerSecurity::kNone;
  }
  const auto key = gPlatform->registry.Open(kServerSecurityPath);
  if (key) {
    const auto value = key->Get(server);
    return value ? SecurityOf(*value) : ServerSecurity::kNone;
  }
  if (!gPlatform->registry.Obstacle().empty()) return std::nullopt;
  return ServerSecurity::kNone;
}

bool WriteServerSecurities(std::span<const SecuredServer> servers) {
  Securities wanted = Wanted(servers);
  auto key = gPlatform->registry.Open(kServerSecurityPath);
  bool stored = wanted.empty() && !key && gPlatform->registry.Obstacle().empty();
  if (!stored && !key) key = gPlatform->registry.Create(kServerSecurityPath);
  if (key) stored = StoredIn(*key) == wanted || WriteDifferences(*key, wanted);
  gUnstoredSecurities.reset();
  if (!stored) gUnstoredSecurities = std::make_unique<Securities>(std::move(wanted));
  return stored;
}

std::string TrustedCertificate(std::u16string_view server, std::uint16_t port) {
  const std::u16string place = PlaceOf(server, port);
  const auto unstored = gUnstoredFingerprints.find(Folded(place));
  if (unstored != gUnstoredFingerprints.end()) return ToUtf8(unstored->second);
  const auto key = gPlatform->registry.Open(kTrustedCertificatesPath);
  return key ? ToUtf8(ValueReader(*key).Text(place, u"")) : std::string();
}

bool TrustCertificate(std::u16string_view server, std::uint16_t port,
                      std::string_view fingerprint) {
  return StoreFingerprint(PlaceOf(server, port), FromUtf8(fingerprint));
}

bool ForgetTrustedCertificates(std::u16string_view server) {
  const std::u16string start = Folded(server) + u":";
  std::vector<std::u16string> places;
  for (const auto& [place, fingerprint] : gUnstoredFingerprints) places.push_back(place);
  if (const auto key = gPlatform->registry.Open(kTrustedCertificatesPath)) {
    for (const port::NamedRegistryValue& value : key->Values()) places.push_back(value.name);
  }
  bool forgotten = true;
  for (const std::u16string& place : places) {
    const bool of_server =
        Folded(place).starts_with(start) && place.find(u':', start.size()) == std::u16string::npos;
    if (of_server) forgotten = StoreFingerprint(place, u"") && forgotten;
  }
  return forgotten;
}

}  // namespace quillet
