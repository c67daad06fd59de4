// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/wire.h"

#include <array>
#include <cstdio>
#include <utility>

#include "nntp/replies.h"
#include "tests/nntp/nntp_fixture.h"
#include "tests/support/failing_new.h"

namespace quillet {
namespace {

using Lines = std::vector<std::string>;
using port::SocketCall;

constexpr std::size_t kLimit = 512;
constexpr char kTwoArticles[] =
    "222 1 <a@x>\r\none\r\n..two\r\n.\r\n222 2 <b@x>\r\n\r\nthree\r\n.\r\n";

class WireTest : public NntpTest {
 protected:
  WireTest() { Connect(); }

  void Connect() {
    const port::SocketHandle socket = fake.sockets.Open();
    EXPECT_TRUE(fake.sockets.Connect(socket, std::array{port::Ipv4(192, 0, 2, 7)}, 119));
    wire.Open(socket);
  }

  // The next line; "lost" when there is none.
  std::string Line(std::size_t limit = kLimit) {
    return std::string(wire.ReadLine(limit).value_or("lost"));
  }

  RunEnd ReadBlock() {
    block.clear();
    bool line_ended = true;
    return wire.ReadBlock([&](std::string_view text, bool line_ends) {
      if (line_ended) block.emplace_back();
      block.back() += text;
      line_ended = line_ends;
      pieces += line_ends ? 0 : 1;
    });
  }

  void ReadTwoArticles() {
    EXPECT_EQ(Line(), "222 1 <a@x>\r\n");
    EXPECT_EQ(ReadBlock(), RunEnd::kGoOn);
    EXPECT_EQ(block, (Lines{"one", "..two"}));
    EXPECT_EQ(Line(), "222 2 <b@x>\r\n");
    EXPECT_EQ(ReadBlock(), RunEnd::kGoOn);
    EXPECT_EQ(block, (Lines{"", "three"}));
    EXPECT_EQ(wire.Pending(), "");
  }

  Wire wire;
  Lines block;     // what the sink got in the last ReadBlock
  int pieces = 0;  // of lines that did not come whole: all but the last
};

// --- lines ---

TEST_F(WireTest, TwoRepliesInOneReceiveAreTwoLines) {
  Server("223 1 <a@x>\r\n223 2 <b@x>\r\n");
  EXPECT_EQ(Line(), "223 1 <a@x>\r\n");
  EXPECT_EQ(wire.Pending(), "223 2 <b@x>\r\n");
  EXPECT_EQ(Line(), "223 2 <b@x>\r\n");
  EXPECT_EQ(fake.sockets.calls(SocketCall::kReceive), 1);
}

TEST_F(WireTest, LineEndsAtItsCrLfWhereverReceivesSplitIt) {
  const std::string lines = "200 a\rb\nc\r\n201 d\r\n";
  for (std::size_t split = 1; split < lines.size(); ++split) {
    Server(lines.substr(0, split));
    Server(lines.substr(split));
    EXPECT_EQ(Line(), "200 a\rb\nc\r\n") << split;
    EXPECT_EQ(Line(), "201 d\r\n") << split;
  }
}

TEST_F(WireTest, LineMayFillItsLimit) {
  Server("12345678\r\n");
  EXPECT_EQ(Line(10), "12345678\r\n");
}

TEST_F(WireTest, LineOverTheLimitIsNoneAndStays) {
  Server("12345678\r\n");
  EXPECT_EQ(wire.ReadLine(9), std::nullopt);
  EXPECT_EQ(wire.Pending(), "12345678\r");
  EXPECT_EQ(fake.sockets.delivered(), 9U);
  fake.sockets.Release();
}

TEST_F(WireTest, LineLeftOverThatIsOverTheLimitIsNone) {
  Server("1\r\n12345678\r\n");
  EXPECT_EQ(Line(), "1\r\n");
  EXPECT_EQ(wire.ReadLine(9), std::nullopt);
  EXPECT_EQ(Line(10), "12345678\r\n");
}

TEST_F(WireTest, LineOfTenMegabytesAsksForNoMoreThanItsLimit) {
  Server(std::string(10'000'000, 'x'));
  EXPECT_EQ(wire.ReadLine(kLimit), std::nullopt);
  EXPECT_EQ(fake.sockets.delivered(), kLimit);
  EXPECT_EQ(wire.ReadLine(1'000'000), std::nullopt);
  EXPECT_EQ(fake.sockets.delivered(), Wire::kReadAhead);
  fake.sockets.Release();
}

TEST_F(WireTest, LineThatHasComeIsReadInSpiteOfAnAbortAndNoOther) {
  Server("200 hi\r\n201 ho\r\n20");
  EXPECT_EQ(Line(), "200 hi\r\n");
  RequestAbort();
  EXPECT_EQ(Line(), "201 ho\r\n");
  EXPECT_EQ(wire.ReadLine(kLimit), std::nullopt);
  EXPECT_EQ(fake.sockets.calls(SocketCall::kReceive), 1);
}

TEST_F(WireTest, LineThatDripsEndsWithTheAbort) {
  for (int i = 0; i < 10; ++i) Server("2");
  fake.sockets.on_call = [](SocketCall call, int n) {
    if (call == SocketCall::kReceive && n == 3) gAbortRequested = 1;
  };
  EXPECT_EQ(wire.ReadLine(kLimit), std::nullopt);
  EXPECT_EQ(fake.sockets.calls(SocketCall::kReceive), 3);
  fake.sockets.Release();
}

TEST_F(WireTest, ClosedWireReadsAndSendsNothing) {
  wire.Close();
  EXPECT_EQ(wire.ReadLine(kLimit), std::nullopt);
  EXPECT_EQ(ReadBlock(), RunEnd::kLost);
  EXPECT_FALSE(wire.Send("QUIT\r\n"));
  EXPECT_EQ(fake.sockets.calls(SocketCall::kReceive), 0);
  EXPECT_EQ(fake.sockets.calls(SocketCall::kSend), 0);
}

// --- blocks ---

TEST_F(WireTest, WhatFollowsABlockIsTheNextReplysStart) {
  Server(kTwoArticles);
  ReadTwoArticles();
  EXPECT_EQ(fake.sockets.calls(SocketCall::kReceive), 1);
}

TEST_F(WireTest, RepliesAndBlocksAreTheSameWhereverReceivesSplitThem) {
  const std::string bytes = kTwoArticles;
  for (std::size_t split = 1; split < bytes.size(); ++split) {
    SCOPED_TRACE(split);
    Server(bytes.substr(0, split));
    Server(bytes.substr(split));
    ReadTwoArticles();
  }
}

TEST_F(WireTest, RepliesAndBlocksAreTheSameInEveryChunking) {
  for (std::size_t chunk = 1; chunk < sizeof kTwoArticles; ++chunk) {
    SCOPED_TRACE(chunk);
    fake.sockets.SetChunk(chunk);
    Server(kTwoArticles);
    ReadTwoArticles();
  }
}

TEST_F(WireTest, LoneDotLineIsAnEmptyBlock) {
  Server(".\r\n");
  EXPECT_EQ(ReadBlock(), RunEnd::kGoOn);
  EXPECT_TRUE(block.empty());
}

TEST_F(WireTest, OnlyADotAloneOnItsLineEndsABlock) {
  Server("..\r\n.x\r\nx.\r\n\n.\n\r\n.\r\r\n.\n\r\n. \r\n.\r\nrest");
  EXPECT_EQ(ReadBlock(), RunEnd::kGoOn);
  EXPECT_EQ(block, (Lines{"..", ".x", "x.", "\n.\n", ".\r", ".\n", ". "}));
  EXPECT_EQ(wire.Pending(), "rest");
}

TEST_F(WireTest, NulBytesAreText) {
  Server(std::string("a\0b\r\n.\r\n", 8));
  EXPECT_EQ(ReadBlock(), RunEnd::kGoOn);
  EXPECT_EQ(block, Lines{std::string("a\0b", 3)});
}

TEST_F(WireTest, LongLinesComeInPieces) {
  const std::vector<std::pair<std::size_t, int>> lengths_and_pieces = {
      {Wire::kReadAhead - 2, 0},  // with its line end it just fits
      {Wire::kReadAhead - 1, 1},
      {Wire::kReadAhead, 1},
      {3 * Wire::kReadAhead + 7, 3}};
  for (const auto& [length, expected] : lengths_and_pieces) {
    pieces = 0;
    const std::string line(length, 'x');
    Server(line + "\r\nend\r\n.\r\n");
    EXPECT_EQ(ReadBlock(), RunEnd::kGoOn);
    EXPECT_EQ(block, (Lines{line, "end"})) << length;
    EXPECT_EQ(pieces, expected) << length;
  }
}

TEST_F(WireTest, DotBehindTheFirstPieceOfALongLineIsText) {
  const std::string line = std::string(Wire::kReadAhead - 1, 'x') + ".";
  Server(line + "\r\n.\r\n");
  EXPECT_EQ(ReadBlock(), RunEnd::kGoOn);
  EXPECT_EQ(block, Lines{line});
}

TEST_F(WireTest, AbortEndsABlockBeforeTheNextReceive) {
  Server("one\r\ntw");
  fake.sockets.Then([] { gAbortRequested = 1; });
  Server("o\r\n.\r\n");
  EXPECT_EQ(ReadBlock(), RunEnd::kCancelled);
  EXPECT_EQ(block, Lines{"one"});
  EXPECT_EQ(wire.Pending(), "tw");
  gAbortRequested = 0;
  EXPECT_EQ(ReadBlock(), RunEnd::kGoOn);  // the wire can be read on
  EXPECT_EQ(block, Lines{"two"});
}

TEST_F(WireTest, BlockThatHasComeIsReadInSpiteOfAnAbort) {
  Server("one\r\n.\r\n");
  fake.sockets.Then([] { RequestAbort(); });
  EXPECT_EQ(ReadBlock(), RunEnd::kGoOn);
  EXPECT_EQ(block, Lines{"one"});
}

// --- a connection that is lost ---

TEST_F(WireTest, CloseAtEveryByteIsALostConnectionAfterWhatCameWhole) {
  const std::string bytes = "222 1 <a@x>\r\none\r\ntwo\r\n.\r\n";
  for (std::size_t close_at = 0; close_at < bytes.size(); ++close_at) {
    SCOPED_TRACE(close_at);
    if (close_at > 0) Server(bytes.substr(0, close_at));
    fake.sockets.Closes();
    if (close_at < 13) {
      EXPECT_EQ(wire.ReadLine(kLimit), std::nullopt);
    } else {
      EXPECT_EQ(Line(), "222 1 <a@x>\r\n");
      EXPECT_EQ(ReadBlock(), RunEnd::kLost);
      Lines whole;
      if (close_at >= 18) whole.emplace_back("one");
      if (close_at >= 23) whole.emplace_back("two");
      EXPECT_EQ(block, whole);
    }
    Connect();
  }
}

TEST_F(WireTest, ReceiveErrorIsALostConnection) {
  Server("one\r\n");
  fake.sockets.FailReceive(2, 10054);
  EXPECT_EQ(ReadBlock(), RunEnd::kLost);
  EXPECT_EQ(block, Lines{"one"});
  EXPECT_TRUE(wire.IsOpen());
}

TEST_F(WireTest, FailedSendLeavesWhatIsLeftOver) {
  Server("223 1\r\n223 2\r\n");
  EXPECT_EQ(Line(), "223 1\r\n");
  fake.sockets.FailSend(1, 10054);
  EXPECT_FALSE(wire.Send("NEXT\r\n"));
  EXPECT_EQ(Line(), "223 2\r\n");
}

// --- several commands under way ---

TEST_F(WireTest, RepliesComeInTheOrderOfTheCommandsUnderWay) {
  Client("STAT 1\r\nHEAD 2\r\nSTAT 3\r\n");
  Server("223 1 <a@x>\r\n221 2 <b@x>\r\nSub");
  Server("ject: s\r\n.\r\n223 3 <c@x>\r\n");
  for (const char* command : {"STAT 1\r\n", "HEAD 2\r\n", "STAT 3\r\n"}) {
    EXPECT_TRUE(wire.Send(command));
  }
  EXPECT_EQ(Line(), "223 1 <a@x>\r\n");
  EXPECT_EQ(Line(), "221 2 <b@x>\r\n");
  EXPECT_EQ(ReadBlock(), RunEnd::kGoOn);
  EXPECT_EQ(block, Lines{"Subject: s"});
  EXPECT_EQ(Line(), "223 3 <c@x>\r\n");
}

TEST_F(WireTest, PendingShowsWhatCameUnasked) {
  EXPECT_EQ(wire.Pending(), "");
  Server("382 go on\r\n");
  EXPECT_EQ(Line(), "382 go on\r\n");
  EXPECT_EQ(wire.Pending(), "");
  Server("382 go on\r\n200 injected\r\n");
  EXPECT_EQ(Line(), "382 go on\r\n");
  EXPECT_EQ(wire.Pending(), "200 injected\r\n");
}

// --- the socket ---

TEST_F(WireTest, ClosingForgetsWhatIsLeftOver) {
  Server("200 a\r\nold");
  EXPECT_EQ(Line(), "200 a\r\n");
  wire.Close();
  wire.Close();
  EXPECT_EQ(wire.Pending(), "");
  EXPECT_FALSE(wire.IsOpen());
  EXPECT_EQ(fake.sockets.calls(SocketCall::kClose), 1);
  Server("200 new\r\n");
  Connect();
  EXPECT_EQ(Line(), "200 new\r\n");
}

TEST_F(WireTest, AnotherSocketTakesThePlaceOfTheFirst) {
  Server("200 a\r\nold");
  EXPECT_EQ(Line(), "200 a\r\n");
  Connect();
  EXPECT_EQ(fake.sockets.open_sockets(), 1);
  EXPECT_EQ(wire.Pending(), "");
}

TEST_F(WireTest, MovedWireTakesItsSocketAndWhatIsLeftOverAlong) {
  Server("200 a\r\n200 b\r\n");
  EXPECT_EQ(Line(), "200 a\r\n");
  {
    Wire taken(std::move(wire));
    EXPECT_FALSE(wire.IsOpen());  // NOLINT(bugprone-use-after-move): a moved wire is closed
    EXPECT_EQ(taken.ReadLine(kLimit), "200 b\r\n");
    EXPECT_EQ(fake.sockets.open_sockets(), 1);
  }
  EXPECT_EQ(fake.sockets.open_sockets(), 0);
  Connect();
  wire = Wire();
  EXPECT_EQ(fake.sockets.open_sockets(), 0);
}

// --- memory, and agreement with the reader in turns ---

// A server that sends overview lines, 100,000 of them, and then the dot.
class OverviewSockets final : public port::Sockets {
 public:
  static constexpr int kLines = 100'000;

  std::optional<port::SocketVersion> Startup(port::SocketVersion wanted) override { return wanted; }
  void Cleanup() override {}
  port::SocketHandle Open() override { return 1; }
  bool Bind(port::SocketHandle) override { return true; }
  std::vector<port::Address> Resolve(const std::string&) override { return {}; }
  bool Connect(port::SocketHandle, std::span<const port::Address>, std::uint16_t) override {
    return true;
  }
  void SetStallLimit(port::SocketHandle, std::uint32_t) override {}
  port::TlsResult StartTls(port::SocketHandle, const port::TlsRequest&) override { return {}; }
  // Part of one line, or of what is left of it.
  std::int64_t Receive(port::SocketHandle, std::span<char> buffer) override {
    if (rest_.empty()) Next();
    const std::size_t count = std::min(buffer.size(), rest_.size());
    std::copy_n(rest_.data(), count, buffer.data());
    rest_.remove_prefix(count);
    return static_cast<std::int64_t>(count);
  }
  bool Send(port::SocketHandle, std::string_view) override { return true; }
  void Close(port::SocketHandle) override {}
  int LastError() override { return 0; }
  void AwaitClose(port::SocketHandle, std::uint32_t) override {}
  void Interrupt(port::InterruptReason) override {}

 private:
  void Next() {
    ++sent_;
    const int length =
        sent_ > kLines
            ? std::snprintf(line_.data(), line_.size(), ".\r\n205 bye\r\n")
            : std::snprintf(line_.data(), line_.size(),
                            "%d\tsubject %d\tann\t\t<%d@x>\t\t12\t3\r\n", sent_, sent_, sent_);
    rest_ = {line_.data(), static_cast<std::size_t>(length)};
  }

  std::array<char, 200> line_{};
  std::string_view rest_;
  int sent_ = 0;
};

TEST_F(WireTest, OverviewOfAHundredThousandLinesTakesNoMemoryAtAll) {
  OverviewSockets sockets;
  port::Platform platform{fake.display.Services(), fake.queues,  fake.registry, sockets,
                          fake.libraries,          fake.files,   fake.clock,    fake.shell,
                          fake.scheduler,          fake.dialler, fake.mail,     fake.contacts,
                          fake.security,           fake.secrets};
  wire.Close();
  gPlatform = &platform;
  wire.Open(sockets.Open());
  EXPECT_EQ(Line().substr(0, 12), "1\tsubject 1\t");  // the reader has its buffer now
  int lines = 1;
  std::uint32_t last = 0;
  const BlockSink count = [&](std::string_view text, bool) {
    ++lines;
    last = LeadingNumber(text);
  };
  testing::FailNthNew(1);
  const RunEnd end = wire.ReadBlock(count);
  testing::FailNthNew(0);
  EXPECT_EQ(end, RunEnd::kGoOn);
  EXPECT_EQ(lines, OverviewSockets::kLines);
  EXPECT_EQ(last, 100'000U);
  EXPECT_EQ(Line(), "205 bye\r\n");
  wire.Close();
  gPlatform = &fake.platform;
}

TEST_F(WireTest, MemoryThatRunsOutAtAnyReceiveLosesNoTerminator) {
  const std::string whole = std::string(3000, 'x') + "\r\n.\r\n";
  Server("200 hi\r\n");
  EXPECT_EQ(Line(), "200 hi\r\n");  // the reader has its buffer now
  for (std::size_t split = whole.size() - 8; split <= whole.size(); ++split) {
    for (const bool first : {true, false}) {
      SCOPED_TRACE(FormatNarrow("%d, %s", static_cast<int>(split), first ? "first" : "second"));
      if (!first && split == whole.size()) continue;
      Server(whole.substr(0, split));
      Server(whole.substr(split));
      Server("200 next\r\n");
      gConnection.wire = std::move(wire);
      std::string text;
      testing::FailNewOfAtLeast(first ? 2000 : split + 2);  // what the second receive grows it to
      EXPECT_EQ(ReadMultiline(&text, 100'000, false, 1, 0), BlockResult::kOversized);
      testing::FailNewOfAtLeast(0);
      EXPECT_TRUE(ReadResponse());
      EXPECT_EQ(gConnection.reply, "200 next\r\n");
      wire = std::move(gConnection.wire);
      if (HasFailure()) return;
    }
  }
}

TEST_F(WireTest, BlockJoinedByLineEndsIsWhatTheReaderInTurnsKeeps) {
  const std::string body =
      "one\r\n\r\n..two\r\n.three\n.\nfour\r\r\n" + std::string(70'000, 'x') + "\r\nlast\r\n.\r\n";
  for (const std::size_t chunk : {1000U, 1448U, 65536U, 1'000'000U}) {
    fake.sockets.SetChunk(chunk);
    Server(body);
    EXPECT_EQ(ReadBlock(), RunEnd::kGoOn);
    std::string joined;
    for (const std::string& line : block) joined += (joined.empty() ? "" : "\r\n") + line;
    Server(body);
    gConnection.wire = std::move(wire);
    std::string text;
    EXPECT_EQ(ReadMultiline(&text, 100'000, false, 1, 0), BlockResult::kComplete);
    EXPECT_EQ(text, joined) << chunk;
    wire = std::move(gConnection.wire);
  }
}

TEST_F(WireTest, KnowsASilenceFromALossUntilTheNextOpen) {
  EXPECT_FALSE(wire.stalled());
  fake.sockets.FailReceive(1, 20060);
  EXPECT_EQ(wire.ReadLine(100), std::nullopt);
  EXPECT_TRUE(wire.stalled());
  wire.Close();
  EXPECT_TRUE(wire.stalled());  // why it was closed
  Connect();
  EXPECT_FALSE(wire.stalled());
  fake.sockets.FailSend(1, 20060);
  EXPECT_FALSE(wire.Send("x"));
  EXPECT_TRUE(wire.stalled());
  Connect();
  fake.sockets.FailReceive(1, 10054);
  EXPECT_EQ(wire.ReadLine(100), std::nullopt);
  EXPECT_FALSE(wire.stalled());
}

}  // namespace
}  // namespace quillet
