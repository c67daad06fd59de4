// SPDX-License-Identifier: GPL-3.0-or-later
// The dialler against a mocked NetworkManager on a bus of its own.
#include "port/linux/linux_dialler.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>

#include <memory>
#include <vector>

#include "port/linux/bus.h"
#include "tests/port/linux_test_tools.h"

namespace quillet::port {
namespace {

using namespace std::chrono_literals;

constexpr const char* kService = "org.freedesktop.NetworkManager";
constexpr const char* kManager = "/org/freedesktop/NetworkManager";
constexpr const char* kMock = "org.freedesktop.DBus.Mock";
constexpr const char* kActive = "org.freedesktop.NetworkManager.Connection.Active";
constexpr std::uint32_t kActivating = 1;
constexpr std::uint32_t kActivated = 2;
constexpr std::uint32_t kDeactivated = 4;

std::unique_ptr<Child> Start(std::vector<std::string> arguments, const std::string& bus,
                             const std::string& log) {
  return std::make_unique<Child>([&] {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus.c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", bus.c_str(), 1);
    if (freopen(log.c_str(), "w", stdout) == nullptr) _exit(126);
    dup2(STDOUT_FILENO, STDERR_FILENO);
    std::vector<char*> argv;
    argv.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    execvp(argv[0], argv.data());
    _exit(127);
  });
}

class LinuxDiallerTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = std::make_unique<TempFolder>();
    address_ = "unix:path=" + (*folder_ / "bus");
    daemon_ = Start({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--address", address_},
                    address_, *folder_ / "daemon.log");
    ASSERT_TRUE(Eventually([] { return OpenBus(address_) != nullptr; }))
        << ReadAll(*folder_ / "daemon.log");
  }
  static void TearDownTestSuite() {
    daemon_.reset();
    folder_.reset();
  }

  void SetUp() override {
    bus_ = OpenBus(address_);
    ASSERT_NE(bus_, nullptr);
    manager_ = Start({"/usr/bin/python3", "-m", "dbusmock", "--template", "networkmanager"},
                     address_, *folder_ / "mock.log");
    std::vector<std::u16string> entries;
    ASSERT_TRUE(Eventually([&] { return dialler_.EnumerateEntries(entries) == 0; }, 20000))
        << ReadAll(*folder_ / "mock.log");
  }
  void TearDown() override {
    manager_->Kill();
    // The next one can only have the name when the bus has noticed.
    Eventually([&] {
      std::vector<std::u16string> entries;
      return dialler_.EnumerateEntries(entries) != 0;
    });
  }

  BusMessage CallMock(const std::string& path, const char* interface, const char* method,
                      const std::function<void(sd_bus_message*)>& fill) {
    sd_bus_message* request = nullptr;
    EXPECT_GE(sd_bus_message_new_method_call(bus_.get(), &request, kService, path.c_str(),
                                             interface, method),
              0);
    const BusMessage owned(request);
    fill(request);
    sd_bus_error error{};
    sd_bus_message* reply = nullptr;
    EXPECT_GE(sd_bus_call(bus_.get(), request, 0, &error, &reply), 0)
        << method << ": " << (error.message != nullptr ? error.message : "?");
    sd_bus_error_free(&error);
    return BusMessage(reply);
  }

  // Adds a connection profile; its object path.
  std::string AddProfile(const char* id, const char* type) {
    const BusMessage reply = CallMock(
        "/org/freedesktop/NetworkManager/Settings", "org.freedesktop.NetworkManager.Settings",
        "AddConnection", [&](sd_bus_message* request) {
          sd_bus_message_append(request, "a{sa{sv}}", 2, "ipv4", 1, "method", "s", "auto",
                                "connection", 4, "id", "s", id, "timestamp", "t", std::uint64_t{7},
                                "autoconnect", "b", 0, "type", "s", type);
        });
    return ReadPath(reply);
  }
  std::string Activate(const std::string& profile, const char* name, std::uint32_t state) {
    CallMock(kManager, kMock, "AddActiveConnection", [&](sd_bus_message* request) {
      sd_bus_message_append(request, "assssu", 0, profile.c_str(), "/", name, state);
    });
    return std::string(kManager) + "/ActiveConnection/" + name;
  }
  void AddMethod(const char* name, const char* in, const char* out, const std::string& code) {
    CallMock(kManager, kMock, "AddMethod", [&](sd_bus_message* request) {
      sd_bus_message_append(request, "sssss", kService, name, in, out, code.c_str());
    });
  }
  // From now on an activation begins and goes no further by itself.
  void ActivateSlowly() {
    AddMethod("ActivateConnection", "ooo", "o",
              "ret = dbus.ObjectPath(self.AddActiveConnection([], args[0], args[2], 'slow', "
              "dbus.UInt32(1)))");
  }
  // Sets the state of the slow activation after a while.
  std::thread ChangeStateSoon(std::uint32_t state, std::uint32_t reason) {
    return std::thread([state, reason] {
      std::this_thread::sleep_for(150ms);
      const BusConnection bus = OpenBus(address_);
      const char* path = "/org/freedesktop/NetworkManager/ActiveConnection/slow";
      EXPECT_GE(
          sd_bus_call_method(bus.get(), kService, path, kMock, "EmitSignal", nullptr, nullptr,
                             "sssav", kActive, "StateChanged", "uu", 2, "u", state, "u", reason),
          0);
      EXPECT_GE(sd_bus_call_method(bus.get(), kService, path, kMock, "UpdateProperties", nullptr,
                                   nullptr, "sa{sv}", kActive, 1, "State", "u", state),
                0);
    });
  }
  static std::string ReadPath(const BusMessage& reply) {
    const char* path = "";
    EXPECT_GE(sd_bus_message_read(reply.get(), "o", &path), 0);
    return path;
  }
  std::uint32_t Dial(LinuxDialler& dialler, const char16_t* entry) {
    DialParameters parameters;
    parameters.entry = entry;
    return dialler.Dial(parameters, handle_);
  }
  std::uint32_t State(LinuxDialler& dialler) {
    std::uint32_t state = 0;
    EXPECT_EQ(dialler.ConnectStatus(handle_, state), 0U);
    return state;
  }
  // Connections counted with room for that many; the result must be as given.
  std::uint32_t Count(std::uint32_t room, std::uint32_t result) {
    std::uint32_t count = 99;
    EXPECT_EQ(dialler_.EnumerateConnections(room, count), result);
    return count;
  }

  static inline std::unique_ptr<TempFolder> folder_;
  static inline std::string address_;
  static inline std::unique_ptr<Child> daemon_;
  std::unique_ptr<Child> manager_;
  BusConnection bus_;
  LinuxDialler dialler_{address_, 3s};
  DialHandle handle_ = 0;
};

TEST_F(LinuxDiallerTest, PhoneBookHoldsTheKindsThatAreDialledSortedAndOnce) {
  const std::pair<const char*, const char*> profiles[] = {
      {"office", "vpn"},
      {"Mobil", "gsm"},
      {"old", "cdma"},
      {"phone", "bluetooth"},
      {"DSL", "pppoe"},
      {"tunnel", "wireguard"},
      {"wired", "802-3-ethernet"},
      {"home", "802-11-wireless"},
      {"lo", "loopback"},
      {"office", "gsm"},
      {"br0", "bridge"},
      {"K\xC3\xB6ln", "gsm"},
  };
  for (const auto& [id, type] : profiles) AddProfile(id, type);
  std::vector<std::u16string> entries = {u"left over"};
  EXPECT_EQ(dialler_.EnumerateEntries(entries), 0U);
  EXPECT_EQ(entries, (std::vector<std::u16string>{u"DSL", u"K\u00F6ln", u"Mobil", u"office", u"old",
                                                  u"phone", u"tunnel"}));
}

TEST_F(LinuxDiallerTest, EmptyPhoneBookIsNoError) {
  std::vector<std::u16string> entries;
  EXPECT_EQ(dialler_.EnumerateEntries(entries), 0U);
  EXPECT_TRUE(entries.empty());
}

TEST_F(LinuxDiallerTest, NothingActiveIsNotConnected) {
  AddProfile("Mobil", "gsm");
  EXPECT_EQ(Count(1, 0), 0U);
}

TEST_F(LinuxDiallerTest, ActiveModemIsOneConnectionAndTwoNeedMoreRoom) {
  Activate(AddProfile("Mobil", "gsm"), "a", kActivated);
  EXPECT_EQ(Count(1, 0), 1U);
  Activate(AddProfile("office", "vpn"), "b", kActivated);
  EXPECT_EQ(Count(1, kDialBufferTooSmall), 2U);
  EXPECT_EQ(Count(2, 0), 2U);
}

TEST_F(LinuxDiallerTest, CableAndWirelessTogetherAreOneConnection) {
  Activate(AddProfile("wired", "802-3-ethernet"), "a", kActivated);
  EXPECT_EQ(Count(1, 0), 1U);
  Activate(AddProfile("home", "802-11-wireless"), "b", kActivated);
  EXPECT_EQ(Count(1, 0), 1U);
}

TEST_F(LinuxDiallerTest, ModemBesideACableCountsAlone) {
  Activate(AddProfile("wired", "802-3-ethernet"), "a", kActivated);
  Activate(AddProfile("Mobil", "gsm"), "b", kActivated);
  EXPECT_EQ(Count(1, 0), 1U);
}

TEST_F(LinuxDiallerTest, ConnectionsOfThisMachineToItselfAreNone) {
  for (const char* type : {"loopback", "bridge", "tun", "dummy", "veth"}) {
    Activate(AddProfile(type, type), type, kActivated);
  }
  EXPECT_EQ(Count(1, 0), 0U);
}

TEST_F(LinuxDiallerTest, OnlyConnectionsThatStandCount) {
  Activate(AddProfile("Mobil", "gsm"), "a", kActivating);
  Activate(AddProfile("wired", "802-3-ethernet"), "b", kDeactivated);
  EXPECT_EQ(Count(1, 0), 0U);
}

TEST_F(LinuxDiallerTest, EntryParametersAreCompletedForKnownEntriesOnly) {
  AddProfile("Mobil", "gsm");
  AddProfile("wired", "802-3-ethernet");
  DialParameters parameters;
  parameters.entry = u"Mobil";
  EXPECT_EQ(dialler_.EntryParameters(parameters), 0U);
  EXPECT_EQ(parameters.entry, u"Mobil");
  EXPECT_EQ(parameters.user, u"");
  for (const char16_t* entry : {u"mobil", u"wired", u"", u"none"}) {
    parameters.entry = entry;
    EXPECT_EQ(dialler_.EntryParameters(parameters), kDialCannotFindEntry);
  }
}

TEST_F(LinuxDiallerTest, DialBringsTheConnectionUpAndHangUpTakesItDown) {
  const std::string hung = *folder_ / "hung";
  AddProfile("other", "gsm");
  const std::string profile = AddProfile("Mobil", "gsm");
  AddMethod("DeactivateConnection", "o", "", "open('" + hung + "', 'a').write(args[0] + '\\n')");
  EXPECT_EQ(Dial(dialler_, u"Mobil"), 0U);
  EXPECT_NE(handle_, 0U);
  EXPECT_EQ(State(dialler_), kDialStateConnected);
  EXPECT_EQ(Count(1, 0), 1U);
  dialler_.HangUp(handle_);
  EXPECT_EQ(ReadAll(hung), std::string(kManager) + "/ActiveConnection/0\n");
  dialler_.HangUp(handle_);
  dialler_.HangUp(0);
  EXPECT_EQ(ReadAll(hung), std::string(kManager) + "/ActiveConnection/0\n");
  std::uint32_t state = 0;
  EXPECT_NE(dialler_.ConnectStatus(handle_, state), 0U);
}

TEST_F(LinuxDiallerTest, DialWaitsUntilTheConnectionStands) {
  AddProfile("Mobil", "gsm");
  ActivateSlowly();
  std::thread changer = ChangeStateSoon(kActivated, 1);
  const StopWatch watch;
  EXPECT_EQ(Dial(dialler_, u"Mobil"), 0U);
  EXPECT_GE(watch.Milliseconds(), 100);
  EXPECT_LT(watch.Milliseconds(), 1500);
  changer.join();
  EXPECT_EQ(State(dialler_), kDialStateConnected);
}

TEST_F(LinuxDiallerTest, FailedDialGivesItsReasonAndAHandleToHangUp) {
  AddProfile("Mobil", "gsm");
  ActivateSlowly();
  std::thread changer = ChangeStateSoon(kDeactivated, 10);
  EXPECT_EQ(Dial(dialler_, u"Mobil"), kDialLoginFailed);
  changer.join();
  EXPECT_NE(handle_, 0U);
  EXPECT_EQ(State(dialler_), kDialStateDisconnected);
  dialler_.HangUp(handle_);
}

TEST_F(LinuxDiallerTest, DialThatNeverEndsIsGivenUp) {
  AddProfile("Mobil", "gsm");
  ActivateSlowly();
  LinuxDialler impatient(address_, 300ms);
  const StopWatch watch;
  EXPECT_EQ(Dial(impatient, u"Mobil"), kDialTimedOut);
  EXPECT_GE(watch.Milliseconds(), 300);
  EXPECT_LT(watch.Milliseconds(), 1500);
  EXPECT_NE(handle_, 0U);
  EXPECT_EQ(State(impatient), kDialStateDisconnected);
}

TEST_F(LinuxDiallerTest, EndOfTheSessionEndsTheDialling) {
  AddProfile("Mobil", "gsm");
  ActivateSlowly();
  LinuxDialler patient(address_, 60s);
  std::thread interrupter([&] {
    std::this_thread::sleep_for(100ms);
    patient.Interrupt();
  });
  const StopWatch watch;
  EXPECT_NE(Dial(patient, u"Mobil"), 0U);
  EXPECT_LT(watch.Milliseconds(), 1000);
  interrupter.join();
}

TEST_F(LinuxDiallerTest, UnknownEntryIsNotDialled) {
  AddProfile("wired", "802-3-ethernet");
  EXPECT_EQ(Dial(dialler_, u"wired"), kDialCannotFindEntry);
  EXPECT_EQ(handle_, 0U);
}

TEST_F(LinuxDiallerTest, RefusedActivationHasACodeAndNoHandle) {
  AddProfile("Mobil", "gsm");
  const std::pair<const char*, std::uint32_t> errors[] = {
      {"org.freedesktop.NetworkManager.PermissionDenied", kDialNotPermitted},
      {"org.freedesktop.NetworkManager.UnknownConnection", kDialCannotFindEntry},
      {"org.freedesktop.NetworkManager.UnknownDevice", kDialDeviceError},
  };
  for (const auto& [name, code] : errors) {
    AddMethod("ActivateConnection", "ooo", "o",
              std::string("raise dbus.exceptions.DBusException('no', name='") + name + "')");
    handle_ = 7;
    EXPECT_EQ(Dial(dialler_, u"Mobil"), code) << name;
    EXPECT_EQ(handle_, 0U);
  }
}

TEST_F(LinuxDiallerTest, ConnectionThatVanishesIsDisconnected) {
  AddProfile("Mobil", "gsm");
  EXPECT_EQ(Dial(dialler_, u"Mobil"), 0U);
  manager_->Kill();
  EXPECT_EQ(State(dialler_), kDialStateDisconnected);
  dialler_.HangUp(handle_);
}

TEST_F(LinuxDiallerTest, WithoutNetworkManagerThereIsNoPhoneBook) {
  manager_->Kill();
  std::vector<std::u16string> entries;
  EXPECT_EQ(dialler_.EnumerateEntries(entries), kDialCannotOpenPhonebook);
  EXPECT_EQ(Count(1, kDialCannotOpenPhonebook), 0U);
  EXPECT_EQ(Dial(dialler_, u"Mobil"), kDialCannotOpenPhonebook);
  EXPECT_EQ(handle_, 0U);
}

TEST(LinuxDiallerWithoutABus, EverythingAnswersThatThereIsNoPhoneBook) {
  LinuxDialler dialler("unix:path=/no/such/bus");
  std::vector<std::u16string> entries;
  std::uint32_t count = 99;
  DialParameters parameters;
  DialHandle handle = 7;
  EXPECT_EQ(dialler.EnumerateEntries(entries), kDialCannotOpenPhonebook);
  EXPECT_EQ(dialler.EnumerateConnections(1, count), kDialCannotOpenPhonebook);
  EXPECT_EQ(count, 0U);
  EXPECT_EQ(dialler.EntryParameters(parameters), kDialCannotOpenPhonebook);
  EXPECT_EQ(dialler.Dial(parameters, handle), kDialCannotOpenPhonebook);
  EXPECT_EQ(handle, 0U);
  std::uint32_t state = 0;
  EXPECT_NE(dialler.ConnectStatus(7, state), 0U);
  dialler.HangUp(7);
}

TEST(DialErrorOfReason, EveryReasonHasACode) {
  const std::pair<std::uint32_t, std::uint32_t> codes[] = {
      {0, 629}, {1, 629}, {2, 631},  {3, 629},  {4, 629},  {5, 720},  {6, 638},  {7, 638},
      {8, 651}, {9, 691}, {10, 691}, {11, 623}, {12, 651}, {13, 692}, {14, 692}, {15, 629},
  };
  for (const auto& [reason, code] : codes) EXPECT_EQ(DialErrorOfReason(reason), code) << reason;
}

}  // namespace
}  // namespace quillet::port
