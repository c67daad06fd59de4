// SPDX-License-Identifier: GPL-3.0-or-later
// In a program of its own: once bound, the database library stays bound.
#include <gtest/gtest.h>

#include "app/startup.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "port/fake/fake_platform.h"

namespace quillet {
namespace {

constexpr std::u16string_view kReinstall =
    u"Quillet CE was unable to initialize its gdbmce.dll, which is required for this version. "
    u"Please re-install Quillet CE and try again.";

void ExpectRefused(port::FakePlatform& fake) {
  fake.display.ForgetBoxes();
  fake.registry.PutDword(kRegistryPath, u"sidetabs", 2);
  EXPECT_EQ(RunQuillet(), 0);
  ASSERT_EQ(fake.display.boxes().size(), 1U);
  EXPECT_EQ(fake.display.boxes()[0].text, kReinstall);
  EXPECT_EQ(fake.display.main_window().handle, 0U);
  EXPECT_EQ(fake.registry.sets(), 0);
  EXPECT_EQ(fake.registry.Open(kRegistryPath)->Values().size(), 1U);
  EXPECT_FALSE(fake.files.FileSize(u"\\Quillet CE News\\Quillet articles.gdb"));
}

TEST(StartWithoutTheDatabaseLibrary, SaysToInstallAgainAndEnds) {
  port::FakePlatform fake;
  fake.libraries.hide_library(u"gdbmce.dll");
  ExpectRefused(fake);
  // The packages for encrypted logins come before it.
  EXPECT_EQ(fake.security.calls, std::vector<std::string>{"EnumeratePackages"});
}

TEST(StartWithoutTheDatabaseLibrary, ALibraryThatLacksAnyOneNameIsRefusedToo) {
  for (const char* name : {"gdbm_open", "gdbm_close", "gdbm_store", "gdbm_fetch", "gdbm_delete",
                           "gdbm_firstkey", "gdbm_nextkey", "gdbm_reorganize", "gdbm_sync",
                           "gdbm_exists", "gdbm_setopt", "gdbm_errno", "gdbm_version"}) {
    SCOPED_TRACE(name);
    port::FakePlatform fake;
    fake.libraries.hide(name);
    ExpectRefused(fake);
  }
}

}  // namespace
}  // namespace quillet
