// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/linux_libraries.h"

#include <gtest/gtest.h>
#include <openssl/crypto.h>
#include <sqlite3.h>

#include <map>

#include "util/text.h"

namespace quillet::port {
namespace {

std::map<std::u16string, std::string> Versions() {
  std::map<std::u16string, std::string> versions;
  for (const LoadedLibrary& library : LinuxLibraries().LoadedLibraries()) {
    EXPECT_TRUE(versions.emplace(library.name, Narrow(library.version)).second);
  }
  return versions;
}

TEST(LoadedLibraries, TellTheVersionsThatTheProcessRunsWith) {
  const auto versions = Versions();
  EXPECT_EQ(versions.at(u"SQLite"), sqlite3_libversion());
  const std::string openssl = OpenSSL_version(OPENSSL_VERSION);  // "OpenSSL 3.0.17 1 Jul 2025 ..."
  EXPECT_TRUE(openssl.starts_with("OpenSSL " + versions.at(u"OpenSSL") + " ")) << openssl;
}

TEST(LoadedLibraries, AreNumbersOfWhatIsThereAlone) {
  for (const auto& [name, version] : Versions()) {
    EXPECT_FALSE(version.empty()) << ToUtf8(name);
    EXPECT_EQ(version.find_first_not_of("0123456789.abcdefghijklmnopqrstuvwxyz-"),
              std::string::npos)
        << version;
  }
}

}  // namespace
}  // namespace quillet::port
