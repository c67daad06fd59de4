// SPDX-License-Identifier: GPL-3.0-or-later
// The same promises, kept by the sockets of a transcript and by those of the system.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "port/fake/fake_sockets.h"
#include "port/fake/gtest_failures.h"
#include "port/linux/linux_sockets.h"
#include "tests/port/loopback_server.h"

namespace quillet::port {
namespace {

// One turn of a conversation.
struct Turn {
  enum class Kind { kServer, kClient, kStalls, kStallsForGood } kind;
  std::string bytes;
};

Turn Server(std::string bytes) {
  return {Turn::Kind::kServer, std::move(bytes)};
}
Turn Client(std::string bytes) {
  return {Turn::Kind::kClient, std::move(bytes)};
}
Turn Stalls() {
  return {Turn::Kind::kStalls, {}};
}

Turn StallsForGood() {
  return {Turn::Kind::kStallsForGood, {}};
}

// At the end of its turns the server closes.
class FakeMaker {
 public:
  FakeSockets sockets;
  void Play(const std::vector<Turn>& turns) {
    for (const Turn& turn : turns) {
      if (turn.kind == Turn::Kind::kServer) sockets.Server(turn.bytes);
      if (turn.kind == Turn::Kind::kClient) sockets.Client(turn.bytes);
      if (turn.kind == Turn::Kind::kStalls) sockets.Stalls();
      if (turn.kind == Turn::Kind::kStallsForGood) sockets.StallsForGood();
    }
    sockets.Closes();
    sockets.SetHost("localhost", {127, 0, 0, 1});
  }
  std::uint16_t port() const { return 119; }
  void Verify() { sockets.Verify(); }
};

class LinuxMaker {
 public:
  LinuxSockets sockets;
  void Play(std::vector<Turn> turns) {
    server_.emplace([turns = std::move(turns)](int client) {
      for (const Turn& turn : turns) {
        if (turn.kind == Turn::Kind::kServer) SendAll(client, turn.bytes);
        if (turn.kind == Turn::Kind::kClient) {
          EXPECT_EQ(ReceiveExactly(client, turn.bytes.size()), turn.bytes);
        }
        if (turn.kind == Turn::Kind::kStalls) ReceiveExactly(client, 1);
        // What is sent then is read by nobody, until the client closes.
        if (turn.kind == Turn::Kind::kStallsForGood) ReceiveExactly(client, 1'000'000);
      }
    });
  }
  std::uint16_t port() const { return server_->port(); }
  void Verify() {}

 private:
  std::optional<LoopbackServer> server_;
};

// Of a machine with IPv6 there may be ::1 too.
bool IsLoopback(const std::vector<Address>& addresses) {
  return std::ranges::find(addresses, Ipv4(127, 0, 0, 1)) != addresses.end();
}

template <class Maker>
class SocketsContract : public testing::Test {
 protected:
  SocketHandle Connected(const std::vector<Turn>& turns) {
    maker_.Play(turns);
    Sockets& sockets = this->sockets();
    EXPECT_EQ(sockets.Startup({1, 1}), (SocketVersion{1, 1}));
    const SocketHandle socket = sockets.Open();
    EXPECT_NE(socket, 0U);
    EXPECT_TRUE(sockets.Bind(socket));
    EXPECT_TRUE(sockets.Connect(socket, std::array{Ipv4(127, 0, 0, 1)}, maker_.port()));
    return socket;
  }
  // Everything until the server closes, with buffers of that size.
  std::string ReceiveAll(SocketHandle socket, std::size_t buffer_size) {
    std::string all;
    std::vector<char> buffer(buffer_size);
    for (;;) {
      const std::int64_t got = sockets().Receive(socket, buffer);
      EXPECT_LE(got, static_cast<std::int64_t>(buffer_size));
      EXPECT_GE(got, 0);
      if (got <= 0) return all;
      all.append(buffer.data(), static_cast<std::size_t>(got));
    }
  }
  // At least `count` bytes.
  std::string ReceiveSome(SocketHandle socket, std::size_t count) {
    std::string all;
    char buffer[100];
    while (all.size() < count) {
      const std::int64_t got = sockets().Receive(socket, buffer);
      if (got <= 0) break;
      all.append(buffer, static_cast<std::size_t>(got));
    }
    return all;
  }
  Sockets& sockets() { return maker_.sockets; }

  Maker maker_;
};

using Makers = testing::Types<FakeMaker, LinuxMaker>;
TYPED_TEST_SUITE(SocketsContract, Makers);

TYPED_TEST(SocketsContract, ConversationGoesBothWays) {
  const SocketHandle socket = this->Connected({Server("200 hello\r\n"), Client("GROUP a.b\r\n"),
                                               Server("211 3 1 3 a.b\r\n"), Client("QUIT\r\n")});
  EXPECT_EQ(this->ReceiveSome(socket, 11), "200 hello\r\n");
  EXPECT_TRUE(this->sockets().Send(socket, "GROUP a.b\r\n"));
  EXPECT_EQ(this->ReceiveSome(socket, 15), "211 3 1 3 a.b\r\n");
  EXPECT_TRUE(this->sockets().Send(socket, "QUIT\r\n"));
  char buffer[10];
  EXPECT_EQ(this->sockets().Receive(socket, buffer), 0);
  this->sockets().Close(socket);
  this->sockets().Cleanup();
  this->maker_.Verify();
}

TYPED_TEST(SocketsContract, ReceiveNeverGivesMoreThanTheBufferHolds) {
  std::string sent;
  for (int i = 0; i < 1000; ++i) sent += static_cast<char>(i * 7);
  const SocketHandle socket = this->Connected({Server(sent)});
  EXPECT_EQ(this->ReceiveAll(socket, 7), sent);
}

TYPED_TEST(SocketsContract, ReceivedBytesMayBeAnyBytes) {
  const std::string sent("a\0b\xFF\r\n\0", 7);
  const SocketHandle socket = this->Connected({Server(sent)});
  EXPECT_EQ(this->ReceiveAll(socket, 100), sent);
}

TYPED_TEST(SocketsContract, EmptyBufferIsAnErrorNotAClose) {
  const SocketHandle socket = this->Connected({Server("x")});
  EXPECT_EQ(this->sockets().Receive(socket, {}), -1);
  EXPECT_NE(this->sockets().LastError(), 0);
  EXPECT_EQ(this->ReceiveAll(socket, 10), "x");
}

TYPED_TEST(SocketsContract, SendingNothingSucceeds) {
  const SocketHandle socket = this->Connected({Server("x")});
  EXPECT_TRUE(this->sockets().Send(socket, ""));
  EXPECT_EQ(this->ReceiveAll(socket, 10), "x");
}

TYPED_TEST(SocketsContract, HandlesAreNeverZeroAndNeverTheSame) {
  std::vector<SocketHandle> seen;
  for (int i = 0; i < 5; ++i) {
    const SocketHandle socket = this->sockets().Open();
    EXPECT_NE(socket, 0U);
    EXPECT_EQ(std::count(seen.begin(), seen.end(), socket), 0);
    seen.push_back(socket);
    if (i % 2 == 0) this->sockets().Close(socket);
  }
}

TYPED_TEST(SocketsContract, ClosingNothingOrTwiceDoesNothing) {
  const SocketHandle socket = this->Connected({Server("x")});
  this->sockets().Close(0);
  this->sockets().Close(socket + 1000);
  EXPECT_EQ(this->ReceiveAll(socket, 10), "x");
  this->sockets().Close(socket);
  this->sockets().Close(socket);
}

TYPED_TEST(SocketsContract, ClosedOrUnknownSocketFailsEverything) {
  const SocketHandle closed = this->sockets().Open();
  this->sockets().Close(closed);
  for (const SocketHandle socket : {SocketHandle{0}, closed, SocketHandle{4711}}) {
    char buffer[10];
    EXPECT_FALSE(this->sockets().Bind(socket));
    EXPECT_FALSE(this->sockets().Connect(socket, std::array{Ipv4(127, 0, 0, 1)}, 1));
    EXPECT_EQ(this->sockets().Receive(socket, buffer), -1);
    EXPECT_FALSE(this->sockets().Send(socket, "x"));
    EXPECT_NE(this->sockets().LastError(), 0);
  }
}

TYPED_TEST(SocketsContract, SocketThatIsNotConnectedCarriesNothing) {
  const SocketHandle socket = this->sockets().Open();
  char buffer[10];
  EXPECT_EQ(this->sockets().Receive(socket, buffer), -1);
  EXPECT_FALSE(this->sockets().Send(socket, "x"));
}

TYPED_TEST(SocketsContract, KnownHostResolves) {
  this->maker_.Play({});
  EXPECT_TRUE(IsLoopback(this->sockets().Resolve("localhost")));
}

TYPED_TEST(SocketsContract, UnknownHostResolvesToNothing) {
  for (const char* host : {"", "no such host", "two..dots"}) {
    EXPECT_EQ(this->sockets().Resolve(host), std::vector<Address>{}) << host;
    EXPECT_NE(this->sockets().LastError(), 0);
  }
  EXPECT_EQ(this->sockets().Resolve(std::string("localhost\0.example", 18)),
            std::vector<Address>{});
}

TYPED_TEST(SocketsContract, SurplusCleanupsDoNothing) {
  this->sockets().Cleanup();
  EXPECT_TRUE(this->sockets().Startup({1, 1}).has_value());
  this->sockets().Cleanup();
  this->sockets().Cleanup();
  EXPECT_EQ(this->sockets().Startup({1, 1}), (SocketVersion{1, 1}));
}

TYPED_TEST(SocketsContract, InterruptEndsABlockedReceive) {
  const SocketHandle socket = this->Connected({Server("x"), Stalls()});
  EXPECT_EQ(this->ReceiveSome(socket, 1), "x");
  std::thread interrupter([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    this->sockets().Interrupt(InterruptReason::kCancel);
  });
  char buffer[10];
  EXPECT_EQ(this->sockets().Receive(socket, buffer), -1);
  EXPECT_NE(this->sockets().LastError(), 0);
  interrupter.join();
}

TYPED_TEST(SocketsContract, AfterAnInterruptAllThatWouldWaitFailsAtOnce) {
  for (const InterruptReason reason : {InterruptReason::kCancel, InterruptReason::kSessionEnd}) {
    const SocketHandle socket = this->Connected({Server("x"), Stalls()});
    this->sockets().Interrupt(reason);
    char buffer[10];
    EXPECT_EQ(this->sockets().Receive(socket, buffer), -1);
    EXPECT_NE(this->sockets().LastError(), 0);
    EXPECT_EQ(this->sockets().Resolve("localhost"), std::vector<Address>{});
    EXPECT_FALSE(this->sockets().Connect(socket, std::array{Ipv4(127, 0, 0, 1)}, 1));
    this->sockets().AwaitClose(socket, 60'000);
    EXPECT_TRUE(this->sockets().Send(socket, "QUIT\r\n"));
    this->sockets().Close(socket);
  }
}

TYPED_TEST(SocketsContract, CancelledConnectionIsFollowedByAnother) {
  this->sockets().Interrupt(InterruptReason::kCancel);
  SocketHandle socket = this->Connected({Server("x"), Stalls()});
  EXPECT_EQ(this->ReceiveSome(socket, 1), "x");
  this->sockets().Interrupt(InterruptReason::kCancel);
  this->sockets().Interrupt(InterruptReason::kCancel);
  char buffer[10];
  EXPECT_EQ(this->sockets().Receive(socket, buffer), -1);
  this->sockets().Close(socket);
  socket = this->Connected({Server("y"), Client("z")});
  EXPECT_EQ(this->ReceiveSome(socket, 1), "y");
  EXPECT_TRUE(IsLoopback(this->sockets().Resolve("localhost")));
  EXPECT_TRUE(this->sockets().Send(socket, "z"));
}

TYPED_TEST(SocketsContract, EndOfTheSessionIsForGood) {
  this->sockets().Interrupt(InterruptReason::kCancel);
  this->sockets().Interrupt(InterruptReason::kSessionEnd);
  this->maker_.Play({});
  const SocketHandle socket = this->sockets().Open();
  EXPECT_FALSE(
      this->sockets().Connect(socket, std::array{Ipv4(127, 0, 0, 1)}, this->maker_.port()));
  EXPECT_EQ(this->sockets().Resolve("localhost"), std::vector<Address>{});
}

TYPED_TEST(SocketsContract, NoAddressIsNoConnection) {
  this->maker_.Play({});
  const SocketHandle socket = this->sockets().Open();
  EXPECT_FALSE(this->sockets().Connect(socket, {}, this->maker_.port()));
  EXPECT_NE(this->sockets().LastError(), 0);
}

TYPED_TEST(SocketsContract, ServerSilentForTheWholeStallLimitEndsTheReceive) {
  const SocketHandle socket = this->Connected({Server("x"), StallsForGood()});
  this->sockets().SetStallLimit(socket, 30);
  EXPECT_EQ(this->ReceiveSome(socket, 1), "x");
  char buffer[10];
  EXPECT_EQ(this->sockets().Receive(socket, buffer), -1);
  EXPECT_EQ(this->sockets().LastError(), kErrorStalled);
  EXPECT_TRUE(this->sockets().Send(socket, "QUIT\r\n"));
  this->sockets().Close(socket);
}

TYPED_TEST(SocketsContract, StallLimitOfNoSocketIsNobodys) {
  this->sockets().SetStallLimit(0, 1000);
  this->sockets().SetStallLimit(4711, 1000);
  EXPECT_EQ(this->Connected({}), 1U);
}

TYPED_TEST(SocketsContract, NoTlsWithoutAConnection) {
  const SocketHandle closed = this->sockets().Open();
  this->sockets().Close(closed);
  for (const SocketHandle socket :
       {SocketHandle{0}, closed, SocketHandle{4711}, this->sockets().Open()}) {
    const TlsResult result = this->sockets().StartTls(socket, {"news.example.org", ""});
    EXPECT_EQ(result.outcome, TlsOutcome::kFailed);
    EXPECT_NE(result.problem, u"");
    EXPECT_EQ(result.fingerprint, "");
  }
}

TYPED_TEST(SocketsContract, ServerThatClosesEndsTheHandshakeAndTheConnectionCarriesNothing) {
  const SocketHandle socket = this->Connected({Server("x")});
  EXPECT_EQ(this->ReceiveSome(socket, 1), "x");
  const TlsResult result = this->sockets().StartTls(socket, {"news.example.org", ""});
  EXPECT_EQ(result.outcome, TlsOutcome::kFailed);
  EXPECT_NE(result.problem, u"");
  EXPECT_FALSE(this->sockets().Send(socket, "QUIT\r\n"));
  char buffer[10];
  EXPECT_EQ(this->sockets().Receive(socket, buffer), -1);
  this->sockets().Close(socket);
}

TYPED_TEST(SocketsContract, ServerSilentForTheWholeStallLimitEndsTheHandshake) {
  const SocketHandle socket = this->Connected({StallsForGood()});
  this->sockets().SetStallLimit(socket, 30);
  const TlsResult result = this->sockets().StartTls(socket, {"news.example.org", ""});
  EXPECT_EQ(result.outcome, TlsOutcome::kFailed);
  EXPECT_EQ(this->sockets().LastError(), kErrorStalled);
}

TYPED_TEST(SocketsContract, InterruptEndsAHandshake) {
  const SocketHandle socket = this->Connected({Server("x"), StallsForGood()});
  EXPECT_EQ(this->ReceiveSome(socket, 1), "x");
  std::thread interrupter([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    this->sockets().Interrupt(InterruptReason::kCancel);
  });
  const TlsResult result = this->sockets().StartTls(socket, {"news.example.org", ""});
  interrupter.join();
  EXPECT_EQ(result.outcome, TlsOutcome::kInterrupted);
  EXPECT_EQ(result.problem, u"");
  EXPECT_FALSE(this->sockets().Send(socket, "QUIT\r\n"));
}

TYPED_TEST(SocketsContract, ClosingServerEndsTheWaitForIt) {
  const SocketHandle socket = this->Connected(
      {Client("QUIT\r\n"), Server(std::string(20'000, 'x')), Server("205 bye\r\n")});
  EXPECT_TRUE(this->sockets().Send(socket, "QUIT\r\n"));
  this->sockets().AwaitClose(socket, 60'000);
  this->maker_.Verify();
}

TYPED_TEST(SocketsContract, NobodyWaitsForTheCloseOfWhatIsNotConnected) {
  this->sockets().AwaitClose(0, 60'000);
  this->sockets().AwaitClose(this->sockets().Open(), 60'000);
}

TYPED_TEST(SocketsContract, SilentServerIsWaitedForNoLongerThanSaid) {
  const SocketHandle socket = this->Connected({Stalls()});
  const auto start = std::chrono::steady_clock::now();
  this->sockets().AwaitClose(socket, 50);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(49));
}

TYPED_TEST(SocketsContract, InterruptEndsTheWaitForAClose) {
  const SocketHandle socket = this->Connected({Stalls()});
  std::thread interrupter([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    this->sockets().Interrupt(InterruptReason::kCancel);
  });
  this->sockets().AwaitClose(socket, 600'000);
  interrupter.join();
}

}  // namespace
}  // namespace quillet::port
