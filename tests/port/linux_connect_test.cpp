// SPDX-License-Identifier: GPL-3.0-or-later
// Names with several addresses, and connections to the first that lets the program in.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <array>
#include <atomic>
#include <vector>

#include "port/linux/address_race.h"
#include "port/linux/linux_sockets.h"
#include "tests/port/full_listener.h"
#include "tests/port/linux_test_tools.h"

namespace quillet::port {
namespace {

using namespace std::chrono_literals;

constexpr Address kFirst = Ipv4(127, 0, 0, 1);
constexpr Address kSecond = Ipv4(127, 0, 0, 2);
constexpr Address kThird = Ipv4(127, 0, 0, 3);
constexpr Address kSix{true, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 0};

Address Six(std::uint8_t last) {
  return {true, {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, last}, 0};
}

// Link-local, but of no interface: no machine can use it, and none asks the network.
constexpr Address kUnusable{true, {0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 0};

// A machine may have been told to do without.
bool HasIpv6() {
  const FileDescriptor probe(socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const NativeAddress native = ToNative(kSix, 0);
  return probe.valid() && bind(probe.get(), native.get(), native.size) == 0;
}

// Greets with its name, so that a client knows where it is.
class NamedServer {
 public:
  explicit NamedServer(std::string name, const Address& address, std::uint16_t port = 0)
      : server_([name](int client) { SendAll(client, name); }, address, port) {}
  std::uint16_t port() const { return server_.port(); }

 private:
  LoopbackServer server_;
};

// Where a connection to those addresses leads; "" when it leads nowhere.
std::string ReachedBy(LinuxSockets& sockets, const std::vector<Address>& addresses,
                      std::uint16_t port) {
  const SocketHandle socket = sockets.Open();
  EXPECT_TRUE(sockets.Bind(socket));
  if (!sockets.Connect(socket, addresses, port)) return "";
  char buffer[100];
  const std::int64_t got = sockets.Receive(socket, buffer);
  sockets.Close(socket);
  return got > 0 ? std::string(buffer, static_cast<std::size_t>(got)) : "";
}

TEST(Interleaved, FamiliesTakeTurnsAndTheFirstOneBegins) {
  EXPECT_EQ(Interleaved({}), std::vector<Address>{});
  EXPECT_EQ(Interleaved(std::vector{Six(1), Six(2), kFirst, kSecond, kThird}),
            (std::vector{Six(1), kFirst, Six(2), kSecond, kThird}));
  EXPECT_EQ(Interleaved(std::vector{kFirst, Six(1), Six(2), Six(3)}),
            (std::vector{kFirst, Six(1), Six(2), Six(3)}));
  EXPECT_EQ(Interleaved(std::vector{kFirst, kSecond, Six(1)}),
            (std::vector{kFirst, Six(1), kSecond}));
}

TEST(MostTelling, RefusalSaysMoreThanAMachineWithoutIpv6) {
  const auto most = [](std::vector<int> errors) { return MostTelling(errors); };
  EXPECT_EQ(most({}), 0);
  EXPECT_EQ(most({ENETUNREACH, ECONNREFUSED}), ECONNREFUSED);
  EXPECT_EQ(most({ECONNREFUSED, ETIMEDOUT}), ECONNREFUSED);
  EXPECT_EQ(most({EHOSTUNREACH, ETIMEDOUT}), ETIMEDOUT);
  EXPECT_EQ(most({ENETDOWN, EHOSTUNREACH}), EHOSTUNREACH);
  EXPECT_EQ(most({EADDRNOTAVAIL, EAFNOSUPPORT}), EADDRNOTAVAIL);
  EXPECT_EQ(most({EADDRNOTAVAIL, ENETUNREACH}), ENETUNREACH);
  EXPECT_EQ(most({ENETUNREACH, EMFILE}), EMFILE);
  EXPECT_EQ(most({EACCES, ENETDOWN}), EACCES) << "the first of equals";
}

TEST(LookUpHost, TextsOfAddressesAreAddresses) {
  std::vector<Address> found;
  EXPECT_EQ(LookUpHost("192.0.2.7", found), 0);
  EXPECT_EQ(found, std::vector{Ipv4(192, 0, 2, 7)});
  found.clear();
  EXPECT_EQ(LookUpHost("2001:db8::7", found), 0);
  EXPECT_EQ(found, std::vector{Six(7)});
}

TEST(LookUpHost, LinkLocalAddressHasItsInterface) {
  std::vector<Address> found;
  if (LookUpHost("fe80::1%lo", found) != 0) GTEST_SKIP() << "no interface lo";
  ASSERT_EQ(found.size(), 1U);
  EXPECT_TRUE(found[0].v6);
  EXPECT_EQ(found[0].bytes[0], 0xFE);
  EXPECT_NE(found[0].scope, 0U);
  EXPECT_EQ(FromNative(*ToNative(found[0], 119).get(), sizeof(sockaddr_storage), found[0]), true);
  EXPECT_NE(found[0].scope, 0U);
}

TEST(LookUpHost, UnknownNamesHaveNoAddress) {
  std::vector<Address> found;
  EXPECT_EQ(LookUpHost("two..dots", found), 11001);
  EXPECT_EQ(found, std::vector<Address>{});
}

TEST(FromNative, CutAndForeignAddressesAreRefused) {
  NativeAddress native = ToNative(kSix, 563);
  Address address;
  EXPECT_FALSE(FromNative(*native.get(), native.size - 1, address));
  native = ToNative(kFirst, 563);
  EXPECT_FALSE(FromNative(*native.get(), native.size - 1, address));
  native.storage.ss_family = AF_UNIX;
  EXPECT_FALSE(FromNative(*native.get(), sizeof native.storage, address));
}

TEST(LinuxConnect, Ipv6IsReached) {
  if (!HasIpv6()) GTEST_SKIP() << "no IPv6";
  const NamedServer server("six", kSix);
  LinuxSockets sockets;
  EXPECT_EQ(ReachedBy(sockets, {kSix}, server.port()), "six");
}

TEST(LinuxConnect, FirstAddressIsPreferred) {
  const NamedServer first("first", kFirst);
  const NamedServer second("second", kSecond, first.port());
  LinuxSockets sockets;
  EXPECT_EQ(ReachedBy(sockets, {kFirst, kSecond}, first.port()), "first");
  EXPECT_EQ(ReachedBy(sockets, {kSecond, kFirst}, first.port()), "second");
}

TEST(LinuxConnect, AddressesThatRefuseArePassedOver) {
  const NamedServer third("third", kThird);
  LinuxSockets sockets;
  const StopWatch watch;
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(ReachedBy(sockets, {kFirst, kSecond, kThird}, third.port()), "third");
  }
  EXPECT_LT(watch.Milliseconds(), 20 * 2 * kAttemptDelay) << "a refusal is not waited for";
}

TEST(LinuxConnect, AddressThatCannotBeUsedIsPassedOverAtOnce) {
  const NamedServer server("four", kFirst);
  LinuxSockets sockets;
  const StopWatch watch;
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(ReachedBy(sockets, {kUnusable, kFirst}, server.port()), "four");
  }
  EXPECT_LT(watch.Milliseconds(), 20 * kAttemptDelay);
}

TEST(LinuxConnect, AddressThatHangsGetsCompany) {
  const FullListener hanging(kFirst);
  const NamedServer second("second", kSecond, hanging.port());
  LinuxSockets sockets;
  const StopWatch watch;
  EXPECT_EQ(ReachedBy(sockets, {kFirst, kSecond}, hanging.port()), "second");
  EXPECT_GE(watch.Milliseconds(), kAttemptDelay - 1);
}

TEST(LinuxConnect, SlowAddressStillWinsWhenTheOthersRefuse) {
  FullListener slow(kFirst);
  std::atomic<bool> done{false};
  std::thread opener([&] {
    std::this_thread::sleep_for(600ms);
    slow.LetAllInUntil(done);
  });
  LinuxSockets sockets;
  const SocketHandle socket = sockets.Open();
  EXPECT_TRUE(sockets.Connect(socket, std::array{kFirst, kSecond, kThird}, slow.port()));
  done = true;
  opener.join();
}

TEST(LinuxConnect, LosersAreClosed) {
  const FullListener hanging(kFirst);
  const NamedServer third("third", kThird, hanging.port());
  const int before = NextDescriptor();
  {
    LinuxSockets sockets;
    EXPECT_EQ(ReachedBy(sockets, {kFirst, kSecond, kThird}, hanging.port()), "third");
  }
  EXPECT_EQ(NextDescriptor(), before);
}

TEST(LinuxConnect, WinnerHasTheOptionsOfTheSocket) {
  LoopbackServer server([](int client) { ReceiveExactly(client, 1); }, kSecond);
  LinuxSockets sockets;
  const SocketHandle socket = sockets.Open();
  sockets.SetStallLimit(socket, 30);
  ASSERT_TRUE(sockets.Connect(socket, std::array{kFirst, kSecond}, server.port()));
  char buffer[10];
  EXPECT_EQ(sockets.Receive(socket, buffer), -1);
  EXPECT_EQ(sockets.LastError(), kErrorStalled);
}

TEST(LinuxConnect, WhenAllFailTheErrorIsTheMostTelling) {
  FileDescriptor listener = ListenOnLoopback(1);
  const std::uint16_t port = PortOf(listener.get());
  listener.Close();
  LinuxSockets sockets;
  EXPECT_FALSE(sockets.Connect(sockets.Open(), std::array{kUnusable, kFirst, kUnusable}, port));
  EXPECT_EQ(sockets.LastError(), kErrorRefused);
}

TEST(LinuxConnect, NoDescriptorForASecondAddressIsToldWhenNothingElseIs) {
  const FileDescriptor listener = ListenOnLoopback(1);
  LinuxSockets sockets;
  const SocketHandle socket = sockets.Open();
  rlimit old{};
  getrlimit(RLIMIT_NOFILE, &old);
  const rlimit none{static_cast<rlim_t>(NextDescriptor()), old.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const bool connected = sockets.Connect(socket, std::array{kSix}, PortOf(listener.get()));
  const int error = sockets.LastError();
  setrlimit(RLIMIT_NOFILE, &old);
  EXPECT_FALSE(connected);
  EXPECT_TRUE(error == kErrorTooManySockets || error == EAFNOSUPPORT) << error;
}

TEST(LinuxConnect, InterruptEndsARace) {
  const FullListener first(kFirst);
  const FullListener second(kSecond, first.port());
  LinuxSockets sockets;
  const SocketHandle socket = sockets.Open();
  std::thread interrupter([&] {
    std::this_thread::sleep_for(400ms);
    sockets.Interrupt(InterruptReason::kCancel);
  });
  const StopWatch watch;
  EXPECT_FALSE(sockets.Connect(socket, std::array{kFirst, kSecond}, first.port()));
  EXPECT_LT(watch.Milliseconds(), 5000);
  EXPECT_EQ(sockets.LastError(), ECANCELED);
  interrupter.join();
}

}  // namespace
}  // namespace quillet::port
