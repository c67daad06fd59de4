// SPDX-License-Identifier: GPL-3.0-or-later
// The password store against a mocked Secret Service on a bus of its own.
#include "port/linux/linux_secrets.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>

#include <atomic>
#include <thread>

#include "port/linux/file_descriptor.h"
#include "tests/port/secret_service.h"

namespace quillet::port {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

// All on one bus: a process has one connection to the session bus, and the library may keep it.
class LinuxSecretsTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { the_bus_ = std::make_unique<PrivateBus>(); }
  static void TearDownTestSuite() { the_bus_.reset(); }
  ~LinuxSecretsTest() override { bus_.StopService(); }

  std::unique_ptr<LinuxSecrets> Secrets(SecretLimits limits = {}, const char* profile = "/p") {
    return std::make_unique<LinuxSecrets>(
        profile, [this] { return interrupts_.load(); }, limits);
  }
  // Three secrets, and the store locked behind them.
  void KeepThree() {
    const auto secrets = Secrets();
    for (const char16_t* user : {u"ann", u"bob", u"carl"}) {
      ASSERT_EQ(secrets->Store(user, {{{"set", u"1"}, {"user", user}}, user}),
                SecretsResult::kDone);
    }
  }
  static std::vector<std::u16string> Texts(std::vector<Secret> found) {
    std::vector<std::u16string> texts;
    for (Secret& secret : found) texts.push_back(std::move(secret.text));
    std::ranges::sort(texts);
    return texts;
  }

  static inline std::unique_ptr<PrivateBus> the_bus_;
  PrivateBus& bus_ = *the_bus_;
  std::atomic<std::uint32_t> interrupts_ = 0;
  std::vector<Secret> found_;
};

TEST_F(LinuxSecretsTest, KeepsFindsReplacesAndForgets) {
  bus_.StartService();
  const auto secrets = Secrets();
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kNothing);
  const SecretAttributes attributes = {{"set", u"1"}, {"user", u"J\u00F6rg \U0001F511"}};
  EXPECT_EQ(secrets->Store(u"a label", {attributes, u"p\u00E4ss\u20AC"}), SecretsResult::kDone);
  EXPECT_EQ(secrets->Store(u"other", {{{"set", u"1"}, {"user", u""}}, u"x"}), SecretsResult::kDone);
  EXPECT_EQ(secrets->Lookup({{"user", u"J\u00F6rg \U0001F511"}}, found_), SecretsResult::kDone);
  ASSERT_THAT(found_, SizeIs(1));
  EXPECT_EQ(found_[0].attributes, attributes);
  EXPECT_EQ(found_[0].text, u"p\u00E4ss\u20AC");
  EXPECT_EQ(secrets->Store(u"a label", {attributes, u"new"}), SecretsResult::kDone);
  EXPECT_THAT(bus_.Texts(), ElementsAre("a label=new", "other=x"));
  EXPECT_EQ(secrets->Lookup({{"set", u"1"}}, found_), SecretsResult::kDone);
  EXPECT_THAT(Texts(found_), ElementsAre(u"new", u"x"));
  EXPECT_EQ(secrets->Clear({{"set", u"2"}}), SecretsResult::kNothing);
  EXPECT_EQ(secrets->Clear(attributes), SecretsResult::kDone);
  EXPECT_THAT(bus_.Texts(), ElementsAre("other=x"));
  EXPECT_EQ(secrets->Clear({}), SecretsResult::kDone);
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kNothing);
  EXPECT_THAT(found_, IsEmpty());
  EXPECT_EQ(bus_.Prompts(), 0U);
}

TEST_F(LinuxSecretsTest, ProfilesDoNotSeeEachOthers) {
  bus_.StartService();
  const auto mine = Secrets();
  const auto yours = Secrets({}, "/q");
  EXPECT_EQ(mine->Store(u"mine", {{{"set", u"1"}}, u"one"}), SecretsResult::kDone);
  EXPECT_EQ(yours->Lookup({}, found_), SecretsResult::kNothing);
  EXPECT_EQ(yours->Store(u"yours", {{{"set", u"1"}}, u"two"}), SecretsResult::kDone);
  EXPECT_EQ(yours->Clear({}), SecretsResult::kDone);
  EXPECT_THAT(bus_.Texts(), ElementsAre("mine=one"));
}

TEST_F(LinuxSecretsTest, UserIsAskedOnceForAll) {
  bus_.StartService();
  KeepThree();
  bus_.Lock();
  const auto secrets = Secrets();
  EXPECT_EQ(secrets->Lookup({{"set", u"1"}}, found_), SecretsResult::kDone);
  EXPECT_THAT(Texts(found_), ElementsAre(u"ann", u"bob", u"carl"));
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kDone);
  EXPECT_EQ(secrets->Store(u"dora", {{{"set", u"1"}}, u"dora"}), SecretsResult::kDone);
  EXPECT_EQ(bus_.Prompts(), 1U);
}

TEST_F(LinuxSecretsTest, UserWhoDeclinesIsNotAskedAgain) {
  bus_.StartService();
  KeepThree();
  bus_.Lock();
  bus_.Answer("dismiss");
  const auto secrets = Secrets();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kRefused);
    EXPECT_THAT(found_, IsEmpty());
    EXPECT_EQ(secrets->Store(u"dora", {{{"set", u"1"}}, u"dora"}), SecretsResult::kRefused);
    EXPECT_EQ(secrets->Clear({}), SecretsResult::kRefused);
  }
  EXPECT_EQ(bus_.Prompts(), 1U);
  EXPECT_THAT(bus_.Texts(), SizeIs(3));
}

TEST_F(LinuxSecretsTest, StoreThatIsLockedAgainStaysSo) {
  bus_.StartService();
  KeepThree();
  bus_.Lock();
  const auto secrets = Secrets();
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kDone);
  bus_.Lock();
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kRefused);
  EXPECT_EQ(bus_.Prompts(), 1U);
}

TEST_F(LinuxSecretsTest, NobodyAnswersThePrompt) {
  bus_.StartService();
  KeepThree();
  bus_.Lock();
  bus_.Answer("never");
  const auto secrets = Secrets({5000, 200});
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kRefused);
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kRefused);
  EXPECT_EQ(bus_.Prompts(), 1U);
}

// The library never comes back from that.
TEST_F(LinuxSecretsTest, PromptThatEndsOddlyIsTheEndOfTheService) {
  bus_.StartService();
  KeepThree();
  bus_.Lock();
  bus_.Answer("oddly");
  const auto secrets = Secrets({200, 200});
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kNoService);
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kNoService);
  EXPECT_EQ(bus_.Prompts(), 1U);
}

TEST_F(LinuxSecretsTest, EndOfTheSessionEndsAPrompt) {
  bus_.StartService();
  KeepThree();
  bus_.Lock();
  bus_.Answer("never");
  const auto secrets = Secrets({5000, 3'600'000});
  std::thread end([this] {
    EXPECT_TRUE(Eventually([this] { return bus_.Prompts() == 1; }));
    ++interrupts_;
  });
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kRefused);
  end.join();
}

TEST_F(LinuxSecretsTest, EmptyLockedStoreIsUnlockedToKeepTheFirst) {
  bus_.StartService();
  bus_.Lock();
  const auto secrets = Secrets();
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kNothing);
  EXPECT_EQ(secrets->Store(u"one", {{{"set", u"1"}}, u"1"}), SecretsResult::kDone);
  EXPECT_EQ(secrets->Store(u"two", {{{"set", u"2"}}, u"2"}), SecretsResult::kDone);
  EXPECT_EQ(bus_.Prompts(), 1U);
  EXPECT_THAT(bus_.Texts(), ElementsAre("one=1", "two=2"));
}

TEST_F(LinuxSecretsTest, FirstCollectionIsMadeWhenTheUserAgrees) {
  bus_.StartService();
  bus_.DropDefault();
  bus_.Answer("dismiss");
  auto secrets = Secrets();
  EXPECT_EQ(secrets->Store(u"one", {{{"set", u"1"}}, u"1"}), SecretsResult::kRefused);
  EXPECT_EQ(secrets->Store(u"one", {{{"set", u"1"}}, u"1"}), SecretsResult::kRefused);
  EXPECT_EQ(bus_.Prompts(), 1U);
  bus_.Answer("accept");
  secrets = Secrets();
  EXPECT_EQ(secrets->Store(u"one", {{{"set", u"1"}}, u"1"}), SecretsResult::kDone);
  EXPECT_EQ(secrets->Store(u"two", {{{"set", u"2"}}, u"2"}), SecretsResult::kDone);
  EXPECT_EQ(bus_.Prompts(), 2U);
}

TEST_F(LinuxSecretsTest, BusWithoutTheServiceIsKnownAtOnceAndForGood) {
  const auto secrets = Secrets({3'600'000, 3'600'000});
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kNoService);
  bus_.StartService();
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kNoService);
  EXPECT_EQ(secrets->Store(u"one", {{{"set", u"1"}}, u"1"}), SecretsResult::kNoService);
  EXPECT_EQ(secrets->Clear({}), SecretsResult::kNoService);
}

TEST_F(LinuxSecretsTest, NoBusAtAll) {
  const TempFolder empty;
  const Environment runtime("XDG_RUNTIME_DIR", empty.path());
  {
    const Environment none("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
    EXPECT_EQ(Secrets()->Lookup({}, found_), SecretsResult::kNoService);
  }
  {
    const Environment none("DBUS_SESSION_BUS_ADDRESS", "");
    EXPECT_EQ(Secrets()->Lookup({}, found_), SecretsResult::kNoService);
  }
}

TEST_F(LinuxSecretsTest, SilentServiceIsGivenUp) {
  bus_.StartService();
  const auto secrets = Secrets({200, 3'600'000});
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kNothing);
  bus_.Silence();
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kNoService);
  EXPECT_EQ(secrets->Store(u"one", {{{"set", u"1"}}, u"1"}), SecretsResult::kNoService);
}

TEST_F(LinuxSecretsTest, ServiceThatGoesAwayIsGivenUp) {
  bus_.StartService();
  KeepThree();
  const auto secrets = Secrets();
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kDone);
  bus_.StopService();
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kNoService);
  EXPECT_THAT(found_, IsEmpty());
}

// For processes of their own, below, since the connection does not survive them.
class LinuxSecretsOwnProcess : public LinuxSecretsTest {};

TEST_F(LinuxSecretsOwnProcess, DISABLED_EndOfTheBusIsNotTheEndOfTheProcess) {
  bus_.StartService();
  KeepThree();
  const auto secrets = Secrets();
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kDone);
  bus_.StopBus();
  EXPECT_EQ(secrets->Lookup({}, found_), SecretsResult::kNoService);
  EXPECT_EQ(secrets->Clear({}), SecretsResult::kNoService);
}

TEST_F(LinuxSecretsOwnProcess, DISABLED_AddressThatLeadsNowhere) {
  const TempFolder empty;
  const Environment gone("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (empty / "gone"));
  EXPECT_EQ(Secrets()->Lookup({}, found_), SecretsResult::kNoService);
}

// As when a service of a desktop takes the connection but says nothing.
TEST_F(LinuxSecretsOwnProcess, DISABLED_BusThatSaysNothing) {
  const TempFolder folder;
  const FileDescriptor listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const std::string path = folder / "bus";
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  ASSERT_EQ(bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listener.get(), 1), 0);
  const Environment silent("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
  EXPECT_EQ(Secrets({200, 200})->Lookup({}, found_), SecretsResult::kNoService);
}

TEST(LinuxSecretsOwnProcesses, EndWell) {
  for (const char* filter : {"--gtest_filter=LinuxSecretsOwnProcess.DISABLED_EndOfTheBus*",
                             "--gtest_filter=LinuxSecretsOwnProcess.DISABLED_Address*",
                             "--gtest_filter=LinuxSecretsOwnProcess.DISABLED_BusThat*"}) {
    Child child([filter] {
      execl("/proc/self/exe", "test", "--gtest_also_run_disabled_tests", filter, nullptr);
      _exit(127);
    });
    EXPECT_EQ(child.Wait(), 0) << filter;
  }
}

}  // namespace
}  // namespace quillet::port
