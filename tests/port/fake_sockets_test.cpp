// SPDX-License-Identifier: GPL-3.0-or-later
// The server transcript: what it lets pass and what it calls a failure.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>
#include <vector>

#include "port/fake/fake_sockets.h"

namespace quillet::port {
namespace {

class Transcript : public testing::Test {
 protected:
  Transcript() {
    sockets.on_failure = [this](const std::string& message) { failures.push_back(message); };
  }

  void Connect() {
    socket = sockets.Open();
    ASSERT_NE(socket, 0U);
    ASSERT_TRUE(sockets.Bind(socket));
    ASSERT_TRUE(sockets.Connect(socket, std::array{Ipv4(127, 0, 0, 1)}, 119));
  }
  // One Receive; "<closed>" and "<error N>" for its ends.
  std::string Receive(std::size_t room = 2048) {
    std::string buffer(room, '\0');
    const std::int64_t got = sockets.Receive(socket, buffer);
    if (got < 0) return "<error " + std::to_string(sockets.LastError()) + ">";
    return got == 0 ? "<closed>" : buffer.substr(0, static_cast<std::size_t>(got));
  }

  FakeSockets sockets;
  SocketHandle socket = 0;
  std::vector<std::string> failures;
};

TEST_F(Transcript, AConversationAsWrittenPasses) {
  sockets.Server("200 hi\r\n");
  sockets.Client("GROUP a.b\r\n");
  sockets.Server("211 1 1 1 a.b\r\n");
  sockets.Client("QUIT\r\n");
  Connect();
  EXPECT_EQ(Receive(), "200 hi\r\n");
  EXPECT_TRUE(sockets.Send(socket, "GROUP a.b\r\n"));
  EXPECT_EQ(Receive(), "211 1 1 1 a.b\r\n");
  EXPECT_TRUE(sockets.Send(socket, "QUIT\r\n"));
  sockets.Close(socket);
  EXPECT_TRUE(sockets.Finished());
  sockets.Verify();
  EXPECT_EQ(failures, std::vector<std::string>{});
  EXPECT_EQ(sockets.sent(), "GROUP a.b\r\nQUIT\r\n");
  EXPECT_EQ(sockets.open_sockets(), 0);
  EXPECT_EQ(sockets.calls(SocketCall::kOpen), 1);
}

TEST_F(Transcript, AnUnexpectedLineFailsAndCloses) {
  sockets.Client("QUIT\r\n");
  Connect();
  EXPECT_TRUE(sockets.Send(socket, "HELP\r\n"));
  ASSERT_EQ(failures.size(), 1U);
  EXPECT_EQ(failures[0],
            "sockets: the client sent \"HELP\\r\\n\" where the server expects \"QUIT\\r\\n\"");
  EXPECT_EQ(Receive(), "<closed>");
  EXPECT_TRUE(sockets.Send(socket, "QUIT\r\n")) << "a closed server swallows it";
  sockets.Verify();
  EXPECT_EQ(failures.size(), 1U) << "one difference is one failure";
}

TEST_F(Transcript, ALineAfterTheEndFails) {
  Connect();
  sockets.Send(socket, "QUIT\r\n");
  ASSERT_EQ(failures.size(), 1U);
  EXPECT_NE(failures[0].find("expects nothing more"), std::string::npos);
}

TEST_F(Transcript, AnExtraByteInALineFails) {
  sockets.Client("QUIT\r\n");
  Connect();
  sockets.Send(socket, "QUIT \r\n");
  EXPECT_EQ(failures.size(), 1U);
}

TEST_F(Transcript, WaitingForAServerThatWaitsFails) {
  sockets.Client("QUIT\r\n");
  Connect();
  EXPECT_EQ(Receive(), "<closed>");
  ASSERT_EQ(failures.size(), 1U);
  EXPECT_EQ(failures[0], "sockets: the client waits while the server expects \"QUIT\\r\\n\"");
}

TEST_F(Transcript, WaitingAfterTheEndFails) {
  Connect();
  EXPECT_EQ(Receive(), "<closed>");
  EXPECT_EQ(failures.size(), 1U);
}

TEST_F(Transcript, LeftoverStepsFail) {
  sockets.Server("200 hi\r\n");
  sockets.Client("QUIT\r\n");
  sockets.Verify();
  EXPECT_EQ(failures, (std::vector<std::string>{"sockets: never received: \"200 hi\\r\\n\"",
                                                "sockets: never sent: \"QUIT\\r\\n\""}));
  sockets.Verify();
  EXPECT_EQ(failures.size(), 2U);
}

TEST_F(Transcript, ALineThatWasBegunAndNotEndedFails) {
  sockets.Client("QUIT\r\n");
  Connect();
  sockets.Send(socket, "QUIT");
  EXPECT_FALSE(sockets.Finished());
  sockets.Verify();
  EXPECT_EQ(failures.size(), 2U);
}

TEST_F(Transcript, ReleasedStepsDoNotFail) {
  sockets.Client("QUIT\r\n");
  sockets.Release();
  sockets.Verify();
  EXPECT_TRUE(failures.empty());
}

TEST_F(Transcript, LinesMayComeInPiecesAndTogether) {
  sockets.Client("POST\r\n");
  sockets.Client("a\r\n");
  sockets.Client(".\r\n");
  Connect();
  for (const char* piece : {"PO", "ST\r", "\na\r\n.", "\r\n"}) {
    EXPECT_TRUE(sockets.Send(socket, piece));
  }
  EXPECT_TRUE(sockets.Finished());
  EXPECT_TRUE(failures.empty());
}

TEST_F(Transcript, ALineIsRecognisedByItsBeginning) {
  sockets.ClientLineStarting("Message-ID: <");
  sockets.Client("QUIT\r\n");
  Connect();
  sockets.Send(socket, "Message-ID: <1@x>\r");
  sockets.Send(socket, "\nQUIT\r\n");
  EXPECT_TRUE(sockets.Finished());
  EXPECT_TRUE(failures.empty());
  sockets.ClientLineStarting("Date: ");
  sockets.Send(socket, "Da\r\n");
  EXPECT_EQ(failures.size(), 1U);
}

TEST_F(Transcript, UnreadReplyBytesStayReadable) {
  sockets.Server("abc");
  sockets.Client("QUIT\r\n");
  sockets.Server("205 bye\r\n");
  Connect();
  EXPECT_EQ(Receive(1), "a");
  sockets.Send(socket, "QUIT\r\n");
  EXPECT_EQ(Receive(), "bc");
  EXPECT_EQ(Receive(), "205 bye\r\n");
  EXPECT_TRUE(failures.empty());
}

TEST_F(Transcript, OneReceiveEndsWithItsStep) {
  sockets.Server("200 ");
  sockets.Server("hi\r\n");
  Connect();
  EXPECT_EQ(Receive(), "200 ");
  EXPECT_EQ(Receive(3), "hi\r");
  EXPECT_EQ(Receive(3), "\n");
}

TEST_F(Transcript, ChunksLimitEveryReceive) {
  sockets.Server("abcde");
  sockets.SetChunk(2);
  Connect();
  EXPECT_EQ(Receive(), "ab");
  EXPECT_EQ(Receive(), "cd");
  EXPECT_EQ(Receive(), "e");
  EXPECT_EQ(sockets.delivered(), 5U);
}

TEST_F(Transcript, TheServerClosesAtAnyByte) {
  const std::string reply = "200 hi\r\n";
  for (std::size_t n = 0; n <= reply.size(); ++n) {
    FakeSockets fresh;
    fresh.on_failure = [this](const std::string& message) { failures.push_back(message); };
    fresh.Server("200 ");
    fresh.Server("hi\r\n");
    fresh.Client("MODE READER\r\n");
    fresh.CloseAfter(n);
    const SocketHandle handle = fresh.Open();
    fresh.Connect(handle, std::array{Address{}}, 119);
    std::string all;
    std::array<char, 64> buffer{};
    std::int64_t got = 0;
    while ((got = fresh.Receive(handle, buffer)) > 0) {
      all.append(buffer.data(), static_cast<std::size_t>(got));
    }
    EXPECT_EQ(got, 0) << n;
    EXPECT_EQ(all, reply.substr(0, n));
    EXPECT_TRUE(fresh.Send(handle, "QUIT\r\n")) << "swallowed";
    fresh.Verify();
  }
  EXPECT_TRUE(failures.empty()) << failures[0];
}

TEST_F(Transcript, AConnectionAfterACloseGoesOnInTheTranscript) {
  sockets.Server("200 one\r\n");
  sockets.Closes();
  sockets.Server("200 two\r\n");
  sockets.Client("QUIT\r\n");
  Connect();
  EXPECT_EQ(Receive(), "200 one\r\n");
  EXPECT_TRUE(sockets.Send(socket, "QUIT\r\n")) << "to a server that is closing";
  EXPECT_EQ(Receive(), "<closed>");
  EXPECT_EQ(Receive(), "<closed>");
  sockets.Close(socket);
  Connect();
  EXPECT_EQ(Receive(), "200 two\r\n");
  sockets.Send(socket, "QUIT\r\n");
  sockets.Verify();
  EXPECT_TRUE(failures.empty());
}

TEST_F(Transcript, TheNthCallFailsWithItsNumber) {
  sockets.Server("ab");
  sockets.Client("x\r\n");
  sockets.SetChunk(1);
  sockets.FailReceive(2, 10054);
  Connect();
  EXPECT_EQ(Receive(), "a");
  EXPECT_EQ(Receive(), "<error 10054>");
  EXPECT_EQ(Receive(), "b") << "the failing call has no effect";
  sockets.FailSend(1, 10053);
  EXPECT_FALSE(sockets.Send(socket, "x\r\n"));
  EXPECT_EQ(sockets.LastError(), 10053);
  EXPECT_TRUE(sockets.Send(socket, "x\r\n"));
  EXPECT_EQ(sockets.sent(), "x\r\n");
  EXPECT_TRUE(failures.empty());
}

TEST_F(Transcript, OpenBindAndConnectFailOnDemand) {
  sockets.FailOpen(kErrorTooManySockets);
  EXPECT_EQ(sockets.Open(), 0U);
  EXPECT_EQ(sockets.LastError(), 10024);
  socket = sockets.Open();
  sockets.FailBind(kErrorAddressInUse);
  EXPECT_FALSE(sockets.Bind(socket));
  EXPECT_EQ(sockets.LastError(), 10048);
  sockets.FailConnect(kErrorRefused);
  EXPECT_FALSE(sockets.Connect(socket, std::array{Ipv4(10, 0, 0, 1)}, 563));
  EXPECT_EQ(sockets.LastError(), 10061);
  EXPECT_EQ(sockets.connections(),
            (std::vector<FakeSockets::Connection>{{{Ipv4(10, 0, 0, 1)}, 563}}));
  EXPECT_EQ(sockets.open_sockets(), 1);
  sockets.Close(socket);
  sockets.Close(socket);
  sockets.Close(0);
  EXPECT_EQ(sockets.open_sockets(), 0);
}

TEST_F(Transcript, SocketsThatAreNotOpenOrConnectedFail) {
  EXPECT_FALSE(sockets.Bind(0));
  EXPECT_FALSE(sockets.Connect(7, std::array{Address{}}, 119));
  EXPECT_EQ(sockets.LastError(), 10038);
  socket = sockets.Open();
  EXPECT_EQ(Receive(), "<error 10057>");
  EXPECT_FALSE(sockets.Send(socket, "x"));
  Connect();
  sockets.Server("x");
  EXPECT_EQ(sockets.Receive(socket, {}), -1) << "an empty buffer is an error";
  EXPECT_EQ(Receive(), "x");
  sockets.Close(socket);
  EXPECT_EQ(Receive(), "<error 10038>");
}

TEST_F(Transcript, OnlyKnownNamesAreFound) {
  sockets.SetHost("news.example", {192, 0, 2, 7});
  EXPECT_EQ(sockets.Resolve("news.example"), (std::vector{Ipv4(192, 0, 2, 7)}));
  EXPECT_EQ(sockets.Resolve("other.example"), std::vector<Address>{});
  EXPECT_EQ(sockets.LastError(), 11001);
  EXPECT_EQ(sockets.resolved(), (std::vector<std::string>{"news.example", "other.example"}));
}

TEST_F(Transcript, TheVersionIsWhatTheTestSays) {
  EXPECT_EQ(sockets.Startup({1, 1}), (SocketVersion{1, 1}));
  sockets.SetVersion(SocketVersion{2, 2});
  EXPECT_EQ(sockets.Startup({1, 1}), (SocketVersion{2, 2}));
  sockets.SetVersion(std::nullopt);
  EXPECT_EQ(sockets.Startup({1, 1}), std::nullopt);
  sockets.Cleanup();
  EXPECT_EQ(sockets.startups(), 2);
  EXPECT_EQ(sockets.cleanups(), 1);
  EXPECT_EQ(sockets.version_wanted(), (SocketVersion{1, 1}));
}

TEST_F(Transcript, ActionsHappenWhereTheyStand) {
  std::string seen;
  sockets.Server("ab");
  sockets.Then([&] { seen += "<greeted>"; });
  sockets.Client("x\r\n");
  sockets.Then([&] { seen += "<sent " + sockets.sent() + ">"; });
  sockets.Server("c");
  sockets.SetChunk(1);
  Connect();
  seen += Receive();
  EXPECT_EQ(seen, "a");
  seen += Receive();
  EXPECT_EQ(seen, "a<greeted>b");
  sockets.Send(socket, "x\r\n");
  EXPECT_EQ(seen, "a<greeted>b<sent x\r\n>");
  EXPECT_EQ(Receive(), "c");
}

TEST_F(Transcript, EveryCallIsAnnouncedWithItsNumber) {
  std::vector<std::pair<SocketCall, int>> seen;
  sockets.on_call = [&](SocketCall kind, int n) { seen.emplace_back(kind, n); };
  sockets.Server("ab");
  sockets.SetChunk(1);
  Connect();
  Receive();
  Receive();
  sockets.Close(socket);
  EXPECT_EQ(seen, (std::vector<std::pair<SocketCall, int>>{{SocketCall::kOpen, 1},
                                                           {SocketCall::kBind, 1},
                                                           {SocketCall::kConnect, 1},
                                                           {SocketCall::kReceive, 1},
                                                           {SocketCall::kReceive, 2},
                                                           {SocketCall::kClose, 1}}));
}

TEST_F(Transcript, AStalledServerGoesOnWhenResumed) {
  sockets.Server("a");
  sockets.Stalls();
  sockets.Server("b");
  Connect();
  EXPECT_EQ(Receive(), "a");
  std::thread other([&] { sockets.Resume(); });
  EXPECT_EQ(Receive(), "b");
  other.join();
}

TEST_F(Transcript, InterruptEndsAStallAndEveryLaterWait) {
  sockets.Stalls();
  Connect();
  std::thread other([&] { sockets.Interrupt(InterruptReason::kSessionEnd); });
  EXPECT_EQ(Receive(), "<error 10004>");
  other.join();
  EXPECT_TRUE(sockets.Send(socket, "QUIT\r\n"));
  EXPECT_EQ(sockets.sent(), "QUIT\r\n");
  EXPECT_EQ(sockets.Resolve("news.example"), std::vector<Address>{});
  sockets.Close(socket);
  EXPECT_EQ(sockets.open_sockets(), 0);
  sockets.Verify();
  EXPECT_TRUE(failures.empty());
}

TEST_F(Transcript, AllAddressesOfANameAreFoundAndRecorded) {
  const Address v6{true, {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7}, 3};
  sockets.SetHost("news.example", {v6, Ipv4(192, 0, 2, 7)});
  EXPECT_EQ(sockets.Resolve("news.example"), (std::vector{v6, Ipv4(192, 0, 2, 7)}));
  socket = sockets.Open();
  EXPECT_TRUE(sockets.Connect(socket, std::array{v6, Ipv4(192, 0, 2, 7)}, 563));
  EXPECT_EQ(sockets.connections(),
            (std::vector<FakeSockets::Connection>{{{v6, Ipv4(192, 0, 2, 7)}, 563}}));
}

TEST_F(Transcript, TlsStartsWhereItStands) {
  sockets.Server("200 hi\r\n");
  sockets.Client("STARTTLS\r\n");
  sockets.Server("382 go on\r\n");
  sockets.Tls();
  sockets.Client("QUIT\r\n");
  Connect();
  Receive();
  sockets.Send(socket, "STARTTLS\r\n");
  Receive();
  EXPECT_EQ(sockets.StartTls(socket, {"news.example", "AB:CD"}).outcome, TlsOutcome::kDone);
  EXPECT_TRUE(sockets.Send(socket, "QUIT\r\n"));
  sockets.Verify();
  EXPECT_TRUE(failures.empty()) << failures[0];
  ASSERT_EQ(sockets.tls_requests().size(), 1U);
  EXPECT_EQ(sockets.tls_requests()[0].host, "news.example");
  EXPECT_EQ(sockets.tls_requests()[0].pinned, "AB:CD");
  EXPECT_EQ(sockets.calls(SocketCall::kStartTls), 1);
}

TEST_F(Transcript, BytesBeforeTlsFail) {
  sockets.Tls();
  Connect();
  sockets.Send(socket, "AUTHINFO USER ann\r\n");
  EXPECT_EQ(failures, std::vector<std::string>{
                          "sockets: the client sent \"AUTHINFO USER ann\\r\\n\" where the "
                          "server expects TLS"});
}

TEST_F(Transcript, WaitingForTheServerBeforeTlsFails) {
  sockets.Tls();
  Connect();
  EXPECT_EQ(Receive(), "<closed>");
  EXPECT_EQ(failures,
            std::vector<std::string>{"sockets: the client waits while the server expects TLS"});
}

TEST_F(Transcript, TlsThatIsNotExpectedFails) {
  sockets.Client("STARTTLS\r\n");
  Connect();
  sockets.Send(socket, "START");
  EXPECT_EQ(sockets.StartTls(socket, {"news.example", ""}).outcome, TlsOutcome::kFailed);
  EXPECT_EQ(failures,
            std::vector<std::string>{"sockets: the client starts TLS where the server expects "
                                     "\"STARTTLS\\r\\n\" after \"START\""});
  EXPECT_FALSE(sockets.Send(socket, "x"));
}

TEST_F(Transcript, TlsThatNeverStartsFails) {
  sockets.Tls();
  Connect();
  sockets.Verify();
  EXPECT_EQ(failures, std::vector<std::string>{"sockets: TLS was never started"});
}

TEST_F(Transcript, RefusedTlsLeavesAConnectionThatCarriesNothing) {
  for (const TlsOutcome outcome : {TlsOutcome::kUntrusted, TlsOutcome::kChangedPin,
                                   TlsOutcome::kFailed, TlsOutcome::kInterrupted}) {
    sockets.Tls({outcome, u"It is for another.", "AB:CD"});
    Connect();
    const TlsResult result = sockets.StartTls(socket, {"news.example", ""});
    EXPECT_EQ(result.outcome, outcome);
    EXPECT_EQ(result.problem, u"It is for another.");
    EXPECT_EQ(result.fingerprint, "AB:CD");
    EXPECT_FALSE(sockets.Send(socket, "QUIT\r\n"));
    EXPECT_EQ(Receive(), "<error 10057>");
    EXPECT_EQ(sockets.sent(), "");
    sockets.Close(socket);
  }
  sockets.Verify();
  EXPECT_TRUE(failures.empty());
}

TEST_F(Transcript, WhatCameInTheClearIsGoneAfterTls) {
  sockets.Server("382 go on\r\n200 injected\r\n");
  sockets.Server("281 injected too\r\n");
  sockets.Tls();
  sockets.Server("encrypted\r\n");
  Connect();
  EXPECT_EQ(Receive(11), "382 go on\r\n");
  EXPECT_EQ(sockets.StartTls(socket, {"news.example", ""}).outcome, TlsOutcome::kDone);
  EXPECT_EQ(Receive(), "encrypted\r\n");
  EXPECT_TRUE(failures.empty());
}

TEST_F(Transcript, ServerThatClosesBeforeTlsEndsTheHandshake) {
  sockets.Closes();
  Connect();
  sockets.Closes();
  EXPECT_EQ(sockets.StartTls(socket, {"news.example", ""}).outcome, TlsOutcome::kFailed);
  sockets.Verify();
  EXPECT_TRUE(failures.empty());
}

TEST_F(Transcript, TlsFailsOnDemandAndAfterAnInterrupt) {
  Connect();
  sockets.FailNth(SocketCall::kStartTls, 1, kErrorTimedOut);
  EXPECT_EQ(sockets.StartTls(socket, {"news.example", ""}).outcome, TlsOutcome::kFailed);
  EXPECT_EQ(sockets.LastError(), kErrorTimedOut);
  Connect();
  sockets.Interrupt(InterruptReason::kCancel);
  EXPECT_EQ(sockets.StartTls(socket, {"news.example", ""}).outcome, TlsOutcome::kInterrupted);
  EXPECT_TRUE(failures.empty());
}

TEST_F(Transcript, SilenceForGoodEndsAtTheStallLimit) {
  sockets.Server("200 hi\r\n");
  sockets.StallsForGood();
  Connect();
  sockets.SetStallLimit(socket, 90'000);
  EXPECT_EQ(Receive(), "200 hi\r\n");
  EXPECT_TRUE(sockets.Send(socket, "GROUP a.b\r\n")) << "nobody reads it";
  EXPECT_EQ(Receive(), "<error 20060>");
  EXPECT_EQ(Receive(), "<closed>");
  sockets.Close(socket);
  EXPECT_EQ(sockets.stall_limits(), std::vector<std::uint32_t>{90'000});
  sockets.StallsForGood();
  Connect();
  sockets.SetStallLimit(socket, 1);
  EXPECT_EQ(sockets.StartTls(socket, {"news.example", ""}).outcome, TlsOutcome::kFailed);
  EXPECT_EQ(sockets.LastError(), kErrorStalled);
  sockets.Verify();
  EXPECT_TRUE(failures.empty());
}

TEST_F(Transcript, NobodyWaitsForTheCloseOfAServerSilentForGood) {
  sockets.Client("QUIT\r\n");
  sockets.StallsForGood();
  Connect();
  EXPECT_TRUE(sockets.Send(socket, "QUIT\r\n"));
  sockets.AwaitClose(socket, 600'000);
  EXPECT_TRUE(sockets.Finished());
}

TEST_F(Transcript, ConnectionToNoAddressFails) {
  socket = sockets.Open();
  EXPECT_FALSE(sockets.Connect(socket, {}, 119));
  EXPECT_EQ(Receive(), "<error 10057>");
}

TEST_F(Transcript, SilenceForGoodWithoutALimitLastsUntilTheInterrupt) {
  sockets.StallsForGood();
  Connect();
  sockets.SetStallLimit(socket, 0);
  std::thread other([&] { sockets.Interrupt(InterruptReason::kCancel); });
  EXPECT_EQ(Receive(), "<error 10004>");
  other.join();
}

}  // namespace
}  // namespace quillet::port
