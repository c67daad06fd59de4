// SPDX-License-Identifier: GPL-3.0-or-later
// Passwords of news servers on the services of Linux: the registry's file, and a mocked Secret
// Service on a bus of its own.
#include <gmock/gmock.h>

#include <memory>
#include <utility>

#include "base/extensions.h"
#include "base/multi_string.h"
#include "base/stored_passwords.h"
#include "base/subscriptions.h"
#include "port/linux/linux_registry.h"
#include "port/linux/linux_secrets.h"
#include "tests/base/prefs_test_device.h"
#include "tests/port/secret_service.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class StoredPasswordsOnBus : public PrefsTest {
 protected:
  StoredPasswordsOnBus() { Start(); }
  ~StoredPasswordsOnBus() override { gPlatform = &fake.platform; }

  // A run of the program begins.
  void Start() {
    ResetProgram();
    secrets_ = std::make_unique<port::LinuxSecrets>(folder_.path(), [] { return 0U; });
    registry_ = std::make_unique<port::LinuxRegistry>(folder_ / "registry.db");
    platform_ = std::make_unique<port::Platform>(
        port::Platform{fake.display.Services(), fake.queues, *registry_, fake.sockets,
                       fake.libraries, fake.files, fake.clock, fake.shell, fake.scheduler,
                       fake.dialler, fake.mail, fake.contacts, fake.security, *secrets_});
    gPlatform = platform_.get();
    ReadPreferences();
    ASSERT_TRUE(gPrefs);
  }
  static void Switch(bool on) {
    const Extensions before = ReadExtensions();
    Extensions after = before;
    after.passwordstore = on ? 1 : 0;
    ASSERT_TRUE(WriteExtensions(before, after));
    ASSERT_TRUE(WritePreferences());
  }
  static void AddTwo() {
    AddServer(*gPrefs, {u"news.example.org", 119, true, false, u"ann", u"p\u00E4ss\u20AC"});
    AddServer(*gPrefs, {u"open.example.org"});
    AddServer(*gPrefs, {u"other.example.org", 563, true, true, u"bob\\NEWS", u"two"});
  }
  std::vector<std::u16string> InRegistry() {
    return ReadMultiString(*registry_->Open(kTestKey), u"authpasses", 3);
  }

  port::PrivateBus bus_;
  port::TempFolder folder_;
  std::unique_ptr<port::LinuxSecrets> secrets_;
  std::unique_ptr<port::LinuxRegistry> registry_;
  std::unique_ptr<port::Platform> platform_;
};

// One test, since a process has one connection to the session bus.
TEST_F(StoredPasswordsOnBus, ThereAndBackAcrossRuns) {
  const std::vector<std::u16string> all = {u"p\u00E4ss\u20AC", u"", u"two"};
  bus_.StartService();

  // Off: the registry has them, and nobody is asked.
  AddTwo();
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(InRegistry(), all);
  EXPECT_FALSE(registry_->Open(kTestKey)->Get(u"passwordset"));
  EXPECT_THAT(bus_.Texts(), IsEmpty());

  Switch(true);
  EXPECT_THAT(InRegistry(), ElementsAre(u"", u"", u""));
  EXPECT_THAT(bus_.Texts(),
              ElementsAre("Quillet CE: ann at news.example.org=p\xC3\xA4ss\xE2\x82\xAC",
                          "Quillet CE: bob\\NEWS at other.example.org=two"));
  // The next run finds the store locked; the user is asked once.
  bus_.Lock();
  Start();
  EXPECT_EQ(gPrefs->authpasses, all);
  gPrefs->authpasses[2] = u"three";
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(bus_.Prompts(), 1U);
  EXPECT_THAT(InRegistry(), ElementsAre(u"", u"", u""));

  // A run in which the user declines: nothing is lost, and what is typed stays in the registry.
  bus_.Lock();
  bus_.Answer("dismiss");
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"", u"", u""));
  EXPECT_NE(TakePasswordTrouble(), u"");
  gPrefs->authpasses[1] = u"typed";
  ASSERT_TRUE(WritePreferences());
  ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(InRegistry(), ElementsAre(u"", u"typed", u""));
  EXPECT_EQ(bus_.Prompts(), 2U);

  bus_.Answer("accept");
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"p\u00E4ss\u20AC", u"typed", u"three"));
  Switch(false);
  EXPECT_THAT(InRegistry(), ElementsAre(u"p\u00E4ss\u20AC", u"typed", u"three"));
  EXPECT_THAT(bus_.Texts(), IsEmpty());
  EXPECT_EQ(bus_.Prompts(), 3U);

  // On again, and then the service is gone for good.
  Switch(true);
  EXPECT_THAT(InRegistry(), ElementsAre(u"", u"", u""));
  bus_.StopService();
  gPrefs->authpasses[0] = u"new";
  ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(InRegistry(), ElementsAre(u"new", u"typed", u"three"));
  EXPECT_THAT(BoxTexts(), ::testing::SizeIs(1));
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"new", u"typed", u"three"));
}

}  // namespace
}  // namespace quillet
