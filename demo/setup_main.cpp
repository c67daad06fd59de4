// Writes a first configuration into a profile that has none: one server, its groups ticked. With it
// the program starts ready to connect.
#include <charconv>
#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/prefs_registry.h"
#include "base/prefs_writer.h"
#include "base/registry_values.h"
#include "base/server_security.h"
#include "base/subscriptions.h"
#include "demo/option_reader.h"
#include "port/linux/linux_registry.h"
#include "port/linux/profile.h"
#include "util/little_endian.h"
#include "util/text.h"

namespace {

using namespace quillet;

constexpr std::string_view kUsage =
    "usage: quillet-setup --server NAME --group NAME [--group NAME ...] [--port N]\n"
    "         [--security none|tls|starttls] [--user NAME --password TEXT] [--profile DIR]\n"
    "         [--number NAME=VALUE ...]\n"
    "\n"
    "Tells the program its news server and the groups to fetch, all of them ticked. Writes the\n"
    "user's own settings, or those in DIR; settings that name a server or a group already are "
    "left\n"
    "alone. Without --port it is 119, with --security tls 563. --number sets further settings by\n"
    "their registry names, e.g. maxarticles=500.\n";

struct Options {
  std::string profile;
  std::string server;
  std::optional<std::uint64_t> port;
  std::string security = "none";
  std::string user;
  std::string password;
  std::vector<std::string> groups;
  std::vector<std::string> numbers;
};

std::optional<ServerSecurity> SecurityOf(std::string_view name) {
  if (name == "none") return ServerSecurity::kNone;
  if (name == "tls") return ServerSecurity::kTls;
  if (name == "starttls") return ServerSecurity::kStartTls;
  return std::nullopt;
}

std::uint64_t PortOf(const Options& options) {
  const ServerSecurity security = SecurityOf(options.security).value_or(ServerSecurity::kNone);
  return options.port.value_or(PortFor(security, kPlainPort));
}

bool ReadOptions(demo::OptionReader reader, Options& options) {
  std::uint64_t port = 0;
  while (reader.Next()) {
    const bool known =
        reader.Text("--profile", options.profile) || reader.Text("--server", options.server) ||
        reader.Text("--security", options.security) || reader.Text("--user", options.user) ||
        reader.Text("--password", options.password) || reader.Texts("--group", options.groups) ||
        reader.Texts("--number", options.numbers);
    if (known) continue;
    if (!reader.Number("--port", port)) return false;
    options.port = port;
  }
  return !options.server.empty() && !options.groups.empty() && SecurityOf(options.security) &&
         PortOf(options) >= 1 && PortOf(options) <= 65535;
}

bool ParseSetting(const std::string& text, std::u16string& name, std::uint32_t& number) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos || equals == 0) return false;
  name = FromUtf8(std::string_view(text).substr(0, equals));
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data() + equals + 1, end, number);
  return result.ec == std::errc() && result.ptr == end;
}

// One server with its groups, nothing fetched yet.
Prefs SubscriptionsOf(const Options& options) {
  Prefs prefs;
  NewsServer server;
  server.name = FromUtf8(options.server);
  server.port = static_cast<std::uint32_t>(PortOf(options));
  server.extra_login = !options.user.empty();
  server.user = FromUtf8(options.user);
  server.password = FromUtf8(options.password);
  AddServer(prefs, std::move(server));
  for (const std::string& group : options.groups) AddGroup(prefs, FromUtf8(group));
  return prefs;
}

bool WriteSecurity(const Options& options, port::LinuxRegistry& registry) {
  const ServerSecurity security = *SecurityOf(options.security);
  if (security == ServerSecurity::kNone) return true;
  const std::unique_ptr<port::RegistryKey> key = registry.Create(kServerSecurityPath);
  return key && WriteDword(*key, FromUtf8(options.server), static_cast<std::uint32_t>(security));
}

// All of it or nothing: what goes through other keys meanwhile is part of it.
bool WriteSettings(const Options& options, port::LinuxRegistry& registry, port::RegistryKey& key) {
  if (!key.Begin() || !WriteSecurity(options, registry)) return false;
  if (WriteSubscriptions(key, SubscriptionsOf(options)) != WriteResult::kDone) return false;
  for (const std::string& text : options.numbers) {
    std::u16string name;
    std::uint32_t number = 0;
    if (!ParseSetting(text, name, number) || !WriteDword(key, name, number)) return false;
  }
  return key.Commit();
}

bool HasEntries(port::RegistryKey& key, std::u16string_view count_name) {
  const auto value = key.Get(count_name);
  return value && value->data.size() >= 4 && GetU32(value->data, 0) != 0;
}

int Fail(const std::string& problem) {
  std::cerr << "quillet-setup: " << problem << "\n";
  return 1;
}

int SetUp(const Options& options) {
  const port::Profile profile = port::LocateProfile(options.profile);
  const std::string problem = port::PrepareProfile(profile);
  if (!problem.empty()) return Fail(problem);
  port::LinuxRegistry registry(profile.RegistryFile());
  const std::unique_ptr<port::RegistryKey> key = registry.Create(kRegistryPath);
  if (!key) return Fail(profile.RegistryFile() + " cannot be written");
  if (HasEntries(*key, u"numservers") || HasEntries(*key, u"numgroups")) {
    return Fail("there are servers or groups already; change them in the program");
  }
  if (!WriteSettings(options, registry, *key)) return Fail("the settings could not be written");
  std::cout << "Server " << options.server << " with " << options.groups.size()
            << " group(s) written to " << profile.RegistryFile() << "\n";
  return 0;
}

bool NumbersAreSound(const Options& options) {
  for (const std::string& text : options.numbers) {
    std::u16string name;
    std::uint32_t number = 0;
    if (!ParseSetting(text, name, number)) return false;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!ReadOptions(demo::OptionReader(argc, argv), options) || !NumbersAreSound(options)) {
    std::cerr << kUsage;
    return 2;
  }
  return SetUp(options);
}
