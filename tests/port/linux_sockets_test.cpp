// SPDX-License-Identifier: GPL-3.0-or-later
// What only real sockets can do wrong: error numbers, signals, partial sends, options, waiting.
#include "port/linux/linux_sockets.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/time.h>

#include <array>
#include <atomic>
#include <vector>

#include "tests/port/full_listener.h"
#include "tests/port/linux_test_tools.h"
#include "tests/port/loopback_server.h"

namespace quillet::port {
namespace {

using namespace std::chrono_literals;

constexpr std::array kLoopback{Ipv4(127, 0, 0, 1)};

SocketHandle ConnectedTo(LinuxSockets& sockets, std::uint16_t port) {
  const SocketHandle socket = sockets.Open();
  EXPECT_TRUE(sockets.Bind(socket));
  EXPECT_TRUE(sockets.Connect(socket, kLoopback, port));
  return socket;
}

int Option(int fd, int level, int option) {
  int value = -1;
  socklen_t size = sizeof value;
  EXPECT_EQ(getsockopt(fd, level, option, &value, &size), 0);
  return value;
}

// Interrupts system calls of this thread every two milliseconds.
class SignalStorm {
 public:
  SignalStorm() {
    struct sigaction action {};
    action.sa_handler = [](int) { count_.fetch_add(1); };
    sigaction(SIGALRM, &action, &old_);
    count_ = 0;
    const itimerval often{{0, 2000}, {0, 2000}};
    setitimer(ITIMER_REAL, &often, nullptr);
  }
  SignalStorm(const SignalStorm&) = delete;
  SignalStorm& operator=(const SignalStorm&) = delete;
  ~SignalStorm() {
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &old_, nullptr);
  }
  int count() const { return count_; }

 private:
  static inline std::atomic<int> count_{0};
  struct sigaction old_ {};
};

// Other threads leave the storm to the test's own.
void BlockStorm() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGALRM);
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

std::thread InterruptSoon(LinuxSockets& sockets) {
  return std::thread([&sockets] {
    BlockStorm();
    std::this_thread::sleep_for(100ms);
    sockets.Interrupt(InterruptReason::kCancel);
  });
}

TEST(SocketErrorCode, SystemErrorsHaveTheCodesOfTheService) {
  const std::pair<int, int> codes[] = {
      {EMFILE, 10024},       {ENFILE, 10024},       {EADDRINUSE, 10048}, {ENETDOWN, 10050},
      {ENETUNREACH, 10051},  {ENOBUFS, 10055},      {ENOMEM, 10055},     {ETIMEDOUT, 10060},
      {ECONNREFUSED, 10061}, {EHOSTUNREACH, 10065}, {EPIPE, EPIPE},      {ECONNRESET, ECONNRESET},
  };
  for (const auto& [system_error, code] : codes) EXPECT_EQ(SocketErrorCode(system_error), code);
}

TEST(LinuxSockets, VersionGrantedIsAlwaysTheOneThereIs) {
  LinuxSockets sockets;
  EXPECT_EQ(sockets.Startup({1, 1}), (SocketVersion{1, 1}));
  EXPECT_EQ(sockets.Startup({2, 2}), (SocketVersion{1, 1}));
  EXPECT_EQ(sockets.Startup({1, 0}), std::nullopt);
  EXPECT_EQ(sockets.Startup({0, 9}), std::nullopt);
}

TEST(LinuxSockets, SocketSendsAndAcknowledgesAtOnceAndNoticesADeadPeer) {
  LinuxSockets sockets;
  const int fd = NextDescriptor();
  ASSERT_NE(sockets.Open(), 0U);
  EXPECT_EQ(Option(fd, IPPROTO_TCP, TCP_NODELAY), 1);
  EXPECT_EQ(Option(fd, SOL_SOCKET, SO_KEEPALIVE), 1);
  EXPECT_LE(Option(fd, IPPROTO_TCP, TCP_KEEPIDLE), 300);
  EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
}

TEST(LinuxSockets, ConnectedSocketBlocksAgain) {
  LoopbackServer server([](int client) { ReceiveExactly(client, 1); });
  LinuxSockets sockets;
  const int fd = NextDescriptor();
  ConnectedTo(sockets, server.port());
  EXPECT_EQ(fcntl(fd, F_GETFL) & O_NONBLOCK, 0);
}

TEST(LinuxSockets, RefusedConnectionIs10061) {
  FileDescriptor listener = ListenOnLoopback(1);
  const std::uint16_t port = PortOf(listener.get());
  listener.Close();
  LinuxSockets sockets;
  EXPECT_FALSE(sockets.Connect(sockets.Open(), kLoopback, port));
  EXPECT_EQ(sockets.LastError(), kErrorRefused);
}

TEST(LinuxSockets, NoMoreDescriptorsIs10024) {
  LinuxSockets sockets;
  rlimit old{};
  getrlimit(RLIMIT_NOFILE, &old);
  const rlimit none{static_cast<rlim_t>(NextDescriptor()), old.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const SocketHandle refused = sockets.Open();
  const int error = sockets.LastError();
  const auto resolved = sockets.Resolve("localhost");
  setrlimit(RLIMIT_NOFILE, &old);
  EXPECT_EQ(refused, 0U);
  EXPECT_EQ(error, kErrorTooManySockets);
  EXPECT_EQ(resolved, std::vector<Address>{});
  EXPECT_NE(sockets.Open(), 0U);
}

TEST(LinuxSockets, MegabytesArriveWholeThroughASlowPeerAndSignals) {
  constexpr std::size_t kSize = 8U << 20U;
  std::string sent(kSize, '\0');
  for (std::size_t i = 0; i < kSize; ++i) sent[i] = static_cast<char>(i * 31 + i / 4096);
  std::string got;
  std::atomic<bool> done{false};
  LoopbackServer server([&](int client) {
    BlockStorm();
    while (got.size() < kSize) {
      const std::string part =
          ReceiveExactly(client, std::min<std::size_t>(65536, kSize - got.size()));
      if (part.empty()) break;
      got += part;
      std::this_thread::sleep_for(1ms);
    }
    done = true;
  });
  LinuxSockets sockets;
  const SocketHandle socket = ConnectedTo(sockets, server.port());
  {
    const SignalStorm storm;
    EXPECT_TRUE(sockets.Send(socket, sent));
    EXPECT_GT(storm.count(), 5);
  }
  ASSERT_TRUE(Eventually([&] { return done.load(); }));
  EXPECT_TRUE(got == sent);
}

TEST(LinuxSockets, ReceiveGoesOnAfterSignals) {
  LoopbackServer server([](int client) {
    BlockStorm();
    std::this_thread::sleep_for(100ms);
    SendAll(client, "late");
  });
  LinuxSockets sockets;
  const SocketHandle socket = ConnectedTo(sockets, server.port());
  char buffer[10];
  const SignalStorm storm;
  EXPECT_EQ(sockets.Receive(socket, buffer), 4);
  EXPECT_GT(storm.count(), 5);
}

TEST(LinuxSockets, ConnectGoesOnAfterSignals) {
  FullListener listener;
  std::atomic<bool> done{false};
  LinuxSockets sockets;
  const SocketHandle socket = sockets.Open();
  const std::uint16_t port = listener.port();
  std::thread opener([&] {
    BlockStorm();
    std::this_thread::sleep_for(200ms);
    listener.LetAllInUntil(done);
  });
  {
    const SignalStorm storm;
    EXPECT_TRUE(sockets.Connect(socket, kLoopback, port));
    EXPECT_GT(storm.count(), 20);
  }
  done = true;
  opener.join();
}

TEST(LinuxSockets, SendToAPeerThatWentAwayFailsWithoutASignal) {
  LoopbackServer server([](int) {});
  LinuxSockets sockets;
  const SocketHandle socket = ConnectedTo(sockets, server.port());
  char buffer[10];
  EXPECT_EQ(sockets.Receive(socket, buffer), 0);
  bool sent = true;
  for (int i = 0; i < 100 && sent; ++i) {
    sent = sockets.Send(socket, "x");
    std::this_thread::sleep_for(5ms);
  }
  EXPECT_FALSE(sent);
  EXPECT_TRUE(sockets.LastError() == EPIPE || sockets.LastError() == ECONNRESET);
}

TEST(LinuxSockets, PeerThatResetsIsAnErrorNotAClose) {
  LoopbackServer server([](int client) {
    ReceiveExactly(client, 1);  // the connect is through
    const linger at_once{1, 0};
    setsockopt(client, SOL_SOCKET, SO_LINGER, &at_once, sizeof at_once);
  });
  LinuxSockets sockets;
  const SocketHandle socket = ConnectedTo(sockets, server.port());
  ASSERT_TRUE(sockets.Send(socket, "x"));
  char buffer[10];
  EXPECT_EQ(sockets.Receive(socket, buffer), -1);
  EXPECT_EQ(sockets.LastError(), ECONNRESET);
}

// A server that writes a reply in two parts holds the second back until the first is acknowledged.
TEST(LinuxSockets, RepliesInTwoPartsDoNotWaitForDelayedAcknowledgements) {
  constexpr int kRounds = 50;
  LoopbackServer server([](int client) {
    for (int i = 0; i < kRounds; ++i) {
      if (ReceiveExactly(client, 6) != "HEAD\r\n") return;
      SendAll(client, "221 1 <a@b>\r\n");
      SendAll(client, "Subject: x\r\n.\r\n");
    }
  });
  LinuxSockets sockets;
  const SocketHandle socket = ConnectedTo(sockets, server.port());
  const StopWatch watch;
  for (int i = 0; i < kRounds; ++i) {
    ASSERT_TRUE(sockets.Send(socket, "HEAD\r\n"));
    std::string reply;
    char buffer[100];
    while (reply.size() < 28) {
      const std::int64_t got = sockets.Receive(socket, buffer);
      ASSERT_GT(got, 0);
      reply.append(buffer, static_cast<std::size_t>(got));
    }
  }
  // A delayed acknowledgement takes 40 ms.
  EXPECT_LT(watch.Milliseconds(), kRounds * 20);
}

TEST(LinuxSockets, InterruptEndsABlockedConnect) {
  const FullListener listener;
  LinuxSockets sockets;
  const SocketHandle socket = sockets.Open();
  std::thread interrupter = InterruptSoon(sockets);
  const StopWatch watch;
  EXPECT_FALSE(sockets.Connect(socket, kLoopback, listener.port()));
  EXPECT_LT(watch.Milliseconds(), 1000);
  EXPECT_EQ(sockets.LastError(), ECANCELED);
  interrupter.join();
}

TEST(LinuxSockets, InterruptEndsABlockedSend) {
  std::atomic<bool> done{false};
  LoopbackServer server([&](int) {
    while (!done) std::this_thread::sleep_for(1ms);
  });
  LinuxSockets sockets;
  const SocketHandle socket = ConnectedTo(sockets, server.port());
  std::thread interrupter = InterruptSoon(sockets);
  EXPECT_FALSE(sockets.Send(socket, std::string(64U << 20U, 'x')));  // waits for ever otherwise
  EXPECT_EQ(sockets.LastError(), ECANCELED);
  // What goes without waiting would still be sent; here nothing does.
  EXPECT_FALSE(sockets.Send(socket, std::string(64U << 20U, 'x')));
  done = true;
  interrupter.join();
}

TEST(LinuxSockets, InterruptEndsABlockedReceiveUnderSignals) {
  LoopbackServer server([](int client) { ReceiveExactly(client, 1); });
  LinuxSockets sockets;
  const SocketHandle socket = ConnectedTo(sockets, server.port());
  std::thread interrupter = InterruptSoon(sockets);
  char buffer[10];
  const SignalStorm storm;
  EXPECT_EQ(sockets.Receive(socket, buffer), -1);
  EXPECT_EQ(sockets.LastError(), ECANCELED);
  interrupter.join();
}

TEST(LinuxSockets, InterruptAbandonsALookupThatHangs) {
  struct Lookup {
    std::atomic<bool> released{false};
    std::atomic<bool> ended{false};
  };
  const auto lookup = std::make_shared<Lookup>();
  {
    LinuxSockets sockets([lookup](const std::string&, std::vector<Address>& addresses) {
      while (!lookup->released) std::this_thread::sleep_for(1ms);
      addresses = {Ipv4(1, 2, 3, 4)};
      lookup->ended = true;
      return 0;
    });
    std::thread interrupter = InterruptSoon(sockets);
    const StopWatch watch;
    EXPECT_EQ(sockets.Resolve("news.example"), std::vector<Address>{});
    EXPECT_LT(watch.Milliseconds(), 1000);
    EXPECT_EQ(sockets.LastError(), ECANCELED);
    interrupter.join();
  }
  lookup->released = true;
  EXPECT_TRUE(Eventually([&] { return lookup->ended.load(); }));
  std::this_thread::sleep_for(20ms);
}

TEST(LinuxSockets, LookupGivesItsAddressOrItsError) {
  LinuxSockets sockets([](const std::string& host, std::vector<Address>& addresses) {
    if (host == "down") return ENETDOWN;
    if (host != "news.example") return kErrorHostNotFound;
    addresses = {Ipv4(192, 0, 2, 7)};
    return 0;
  });
  EXPECT_EQ(sockets.Resolve("news.example"), (std::vector{Ipv4(192, 0, 2, 7)}));
  EXPECT_EQ(sockets.Resolve("other.example"), std::vector<Address>{});
  EXPECT_EQ(sockets.LastError(), 11001);
  EXPECT_EQ(sockets.Resolve("down"), std::vector<Address>{});
  EXPECT_EQ(sockets.LastError(), kErrorNetworkDown);
}

TEST(LinuxSockets, LineWithoutAcknowledgementsOutlastsTheStallLimit) {
  LinuxSockets sockets;
  const int fd = NextDescriptor();
  const SocketHandle socket = sockets.Open();
  EXPECT_EQ(Option(fd, IPPROTO_TCP, TCP_USER_TIMEOUT), 120'000);
  sockets.SetStallLimit(socket, 90'000);
  EXPECT_EQ(Option(fd, IPPROTO_TCP, TCP_USER_TIMEOUT), 120'000);
  sockets.SetStallLimit(socket, 600'000);
  EXPECT_EQ(Option(fd, IPPROTO_TCP, TCP_USER_TIMEOUT), 630'000);
}

TEST(LinuxSockets, PeerThatTakesNothingForTheWholeStallLimitEndsTheSend) {
  std::atomic<bool> done{false};
  LoopbackServer server([&](int) {
    while (!done) std::this_thread::sleep_for(1ms);
  });
  LinuxSockets sockets;
  const SocketHandle socket = ConnectedTo(sockets, server.port());
  sockets.SetStallLimit(socket, 30);
  EXPECT_FALSE(sockets.Send(socket, std::string(64U << 20U, 'x')));  // waits for ever otherwise
  EXPECT_EQ(sockets.LastError(), kErrorStalled);
  done = true;
}

TEST(LinuxSockets, WhatGoesOnIsNoStall) {
  LoopbackServer server([](int client) {
    for (int i = 0; i < 10; ++i) {
      std::this_thread::sleep_for(200ms);
      SendAll(client, "x");
    }
  });
  LinuxSockets sockets;
  const SocketHandle socket = ConnectedTo(sockets, server.port());
  sockets.SetStallLimit(socket, 1500);
  char buffer[10];
  for (int i = 0; i < 10; ++i) EXPECT_EQ(sockets.Receive(socket, std::span(buffer, 1)), 1);
}

TEST(LinuxSockets, WithoutAStallLimitAReceiveWaits) {
  LoopbackServer server([](int client) {
    std::this_thread::sleep_for(200ms);
    SendAll(client, "x");
  });
  LinuxSockets sockets;
  const SocketHandle socket = ConnectedTo(sockets, server.port());
  sockets.SetStallLimit(socket, 20);
  sockets.SetStallLimit(socket, 0);
  char buffer[10];
  EXPECT_EQ(sockets.Receive(socket, buffer), 1);
}

TEST(LinuxSockets, LastCleanupClosesWhatIsOpen) {
  std::atomic<bool> closed{false};
  LoopbackServer server([&](int client) {
    EXPECT_EQ(ReceiveExactly(client, 1), "");
    closed = true;
  });
  LinuxSockets sockets;
  sockets.Startup({1, 1});
  sockets.Startup({1, 1});
  const SocketHandle socket = ConnectedTo(sockets, server.port());
  sockets.Cleanup();
  EXPECT_FALSE(closed);
  sockets.Cleanup();
  EXPECT_TRUE(Eventually([&] { return closed.load(); }));
  EXPECT_FALSE(sockets.Send(socket, "x"));
}

}  // namespace
}  // namespace quillet::port
