// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/replies.h"

#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

class RepliesTest : public NntpTest {
 protected:
  RepliesTest() { Connected(); }

  BlockResult ReadBlock(std::size_t capacity, std::string already = "") {
    text_ = std::move(already);
    return ReadMultiline(&text_, capacity, false, 5, 0);
  }

  std::string text_;
};

// --- numbers and terminators ---

TEST(IsTerminated, NeedsTheDotLineAtTheEnd) {
  EXPECT_FALSE(IsTerminated(""));
  EXPECT_FALSE(IsTerminated("\r\n"));
  EXPECT_TRUE(IsTerminated(".\r\n"));
  EXPECT_FALSE(IsTerminated("x\r\n"));
  EXPECT_FALSE(IsTerminated("\n.\r\n"));
  EXPECT_FALSE(IsTerminated("..\r\n"));
  EXPECT_TRUE(IsTerminated("\r\n.\r\n"));
  EXPECT_TRUE(IsTerminated("a\r\n.\r\n"));
  EXPECT_FALSE(IsTerminated("aa.\r\n"));
  EXPECT_FALSE(IsTerminated("a\n.\r\n"));
  EXPECT_FALSE(IsTerminated("a\r\n..\r\n"));
  EXPECT_FALSE(IsTerminated("a\r\n.\r\nb"));
}

TEST(GetNumericField, CountsFieldsBySingleBlanks) {
  const std::string_view reply = "211 12 100 1000 comp.lang.misc\r\n";
  EXPECT_EQ(GetNumericField(reply, 0), 211U);
  EXPECT_EQ(GetNumericField(reply, 1), 12U);
  EXPECT_EQ(GetNumericField(reply, 2), 100U);
  EXPECT_EQ(GetNumericField(reply, 3), 1000U);
  EXPECT_EQ(GetNumericField(reply, 4), 0U);
  EXPECT_EQ(GetNumericField(reply, 5), 0U);
  EXPECT_EQ(GetNumericField("1  3", 1), 0U);
  EXPECT_EQ(GetNumericField("1  3", 2), 3U);
}

TEST(GetNumericField, DigitsMustEndAtABlankOrTheEnd) {
  EXPECT_EQ(GetNumericField("223 42", 1), 42U);
  EXPECT_EQ(GetNumericField("223 42 <a@b>", 1), 42U);
  EXPECT_EQ(GetNumericField("223 42x <a@b>", 1), 0U);
  EXPECT_EQ(GetNumericField("223 42\r\n", 1), 0U);
  EXPECT_EQ(GetNumericField("223 -4 ", 1), 0U);
  EXPECT_EQ(GetNumericField("223 ", 1), 0U);
  EXPECT_EQ(GetNumericField("", 0), 0U);
  EXPECT_EQ(GetNumericField("", 3), 0U);
}

TEST(GetNumericField, WrapsAt32Bits) {
  EXPECT_EQ(GetNumericField("223 4294967295 x", 1), 4294967295U);
  EXPECT_EQ(GetNumericField("223 4294967296 x", 1), 0U);
  EXPECT_EQ(GetNumericField("223 4294967301 x", 1), 5U);
  EXPECT_EQ(GetNumericField("223 99999999999999999999999 x", 1), 4135583743U);
}

TEST(LeadingNumber, StopsAtTheFirstOtherByte) {
  EXPECT_EQ(LeadingNumber("222"), 222U);
  EXPECT_EQ(LeadingNumber("12abc"), 12U);
  EXPECT_EQ(LeadingNumber(" 12"), 0U);
  EXPECT_EQ(LeadingNumber(""), 0U);
}

// --- one reply line ---

TEST_F(RepliesTest, ResponseIsReadToItsLineEndAndLogged) {
  Server("200 he");
  Server("llo\r");
  Server("\n");
  EXPECT_TRUE(ReadResponse());
  EXPECT_EQ(gConnection.reply, "200 hello\r\n");
  EXPECT_EQ(TransactionLog(), "200 hello\r\n");
}

TEST_F(RepliesTest, ResponseByteByByteIsTheSame) {
  fake.sockets.SetChunk(1);
  Server("200 hello\r\n");
  EXPECT_TRUE(ReadResponse());
  EXPECT_EQ(gConnection.reply, "200 hello\r\n");
}

TEST_F(RepliesTest, ResponseEndIsAnEndTestNotASearch) {
  Server("200 a\r\nrest");
  Server(" b\r\n");
  EXPECT_TRUE(ReadResponse());
  EXPECT_EQ(gConnection.reply, "200 a\r\nrest b\r\n");
}

TEST_F(RepliesTest, ResponseIsLoggedOnlyWhileTheLogIsKept) {
  gPrefs->keeptranslog = 0;
  Server("200 hello\r\n");
  EXPECT_TRUE(ReadResponse());
  EXPECT_EQ(TransactionLog(), "");
}

TEST_F(RepliesTest, ResponseEndsAtItsFirstNul) {
  Server(std::string("200 a\0b\r\n", 9));
  EXPECT_TRUE(ReadResponse());
  EXPECT_EQ(gConnection.reply, "200 a");
}

TEST_F(RepliesTest, NulBytesCountWhileReceivingAResponse) {
  Server(std::string("200 a\0b\r\n", 9).substr(0, 6));
  Server("b\r\n");
  EXPECT_TRUE(ReadResponse());
  EXPECT_EQ(gConnection.reply, "200 a");
}

TEST_F(RepliesTest, ClosedConnectionIsLoggedAfterTheClosing) {
  Server("200 he");
  fake.sockets.Closes();
  EXPECT_FALSE(ReadResponse());
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_EQ(gConnection.wire.socket(), 0U);
  EXPECT_EQ(fake.sockets.open_sockets(), 0);
  EXPECT_FALSE(gConnection.server_name.has_value());
  EXPECT_TRUE(fake.display.boxes().empty());  // the log was still empty when it closed
  EXPECT_EQ(fake.sockets.sent(), "QUIT\r\n");
  EXPECT_EQ(TransactionLog(), "QUIT\r\n");
  EXPECT_EQ(fake.sockets.close_waits(), std::vector<std::uint32_t>{2000});
}

TEST_F(RepliesTest, ReceiveErrorIsALostConnection) {
  fake.sockets.FailReceive(1, 10054);

  Server("200 hello\r\n");
  Quits();
  EXPECT_FALSE(ReadResponse());
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
}

TEST_F(RepliesTest, ResponseOf2047BytesFits) {
  const std::string reply = "200 " + std::string(2041, 'x') + "\r\n";
  ASSERT_EQ(reply.size(), 2047U);
  Server(reply);
  EXPECT_TRUE(ReadResponse());
  EXPECT_EQ(gConnection.reply, reply);
}

TEST_F(RepliesTest, ResponseBeyondTheLineBufferLosesTheConnection) {
  Server("200 " + std::string(2042, 'x') + "\r\n");

  Quits();
  EXPECT_FALSE(ReadResponse());
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_EQ(gConnection.wire.socket(), 0U);
}

TEST_F(RepliesTest, TenMegabytesWithoutALineEndLoseTheConnection) {
  const std::string half(5'000'000, 'x');
  Server(half + half);

  Quits();
  EXPECT_FALSE(ReadResponse());
  EXPECT_LE(fake.sockets.delivered(), 2047U);
  EXPECT_LE(gConnection.reply.capacity(), 4096U);
}

// --- the status line of an article ---

TEST_F(RepliesTest, StatusLineYieldsCodeNumberAndWhatFollows) {
  Server("222 3000 <a@b> body\r\nfirst line\r\nsecond");
  std::string rest = "kept:";
  EXPECT_TRUE(ReadStatusLine(rest));
  EXPECT_EQ(gConnection.last_status, 222);
  EXPECT_EQ(gConnection.last_article_number, 3000U);
  EXPECT_EQ(rest, "kept:first line\r\nsecond");
  EXPECT_EQ(TransactionLog(), "");  // never logged
}

TEST_F(RepliesTest, StatusLineByteByByteIsTheSame) {
  fake.sockets.SetChunk(1);
  Server("222 3000 <a@b> body\r\nfirst");
  fake.sockets.Release();
  std::string rest;
  EXPECT_TRUE(ReadStatusLine(rest));
  EXPECT_EQ(gConnection.last_article_number, 3000U);
  EXPECT_EQ(rest, "");
}

TEST_F(RepliesTest, StatusLineTokensAreLeadingDigits) {
  std::string rest;
  Server("430x 7y\r\n");
  EXPECT_TRUE(ReadStatusLine(rest));
  EXPECT_EQ(gConnection.last_status, 430);
  EXPECT_EQ(gConnection.last_article_number, 7U);
  Server("\r\n");
  EXPECT_TRUE(ReadStatusLine(rest));
  EXPECT_EQ(gConnection.last_status, 0);
  EXPECT_EQ(gConnection.last_article_number, 0U);
  Server("222\r\n99 98\r\n");
  EXPECT_TRUE(ReadStatusLine(rest));
  EXPECT_EQ(gConnection.last_status, 222);
  EXPECT_EQ(gConnection.last_article_number, 0U);  // never taken from the next line
  EXPECT_EQ(rest, "99 98\r\n");
}

TEST_F(RepliesTest, StatusLineNumbersWrap) {
  std::string rest;
  Server("4294967518 4294967297 x\r\n");
  EXPECT_TRUE(ReadStatusLine(rest));
  EXPECT_EQ(gConnection.last_status, 222);
  EXPECT_EQ(gConnection.last_article_number, 1U);
  Server("4294967295 1\r\n");
  EXPECT_TRUE(ReadStatusLine(rest));
  EXPECT_EQ(gConnection.last_status, -1);
}

TEST_F(RepliesTest, LostStatusLineLeavesTheConnectionAsItIs) {
  Server("222 3");
  fake.sockets.Closes();
  std::string rest;
  EXPECT_FALSE(ReadStatusLine(rest));
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_NE(gConnection.wire.socket(), 0U);
  EXPECT_EQ(fake.sockets.sent(), "");
}

TEST_F(RepliesTest, StatusLineBeyondTheLineBufferIsALostConnection) {
  Server(std::string(5000, '2'));
  fake.sockets.Release();
  std::string rest;
  EXPECT_FALSE(ReadStatusLine(rest));
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
}

// --- blocks ---

TEST_F(RepliesTest, BlockLosesItsTerminatorAndTheLineEndBeforeIt) {
  Server("one\r\ntwo\r\n.\r\n");
  EXPECT_EQ(ReadBlock(1000), BlockResult::kComplete);
  EXPECT_EQ(text_, "one\r\ntwo");
}

TEST_F(RepliesTest, BlockThatCameWithTheStatusLineIsNotReadFurther) {
  EXPECT_EQ(ReadBlock(1000, "one\r\n.\r\n"), BlockResult::kComplete);
  EXPECT_EQ(text_, "one");
  EXPECT_EQ(fake.sockets.calls(port::SocketCall::kReceive), 0);
}

TEST_F(RepliesTest, LoneTerminatorIsAnEmptyBlock) {
  EXPECT_EQ(ReadBlock(1000, ".\r\n"), BlockResult::kComplete);
  EXPECT_EQ(text_, "");
  Server(".\r\n");
  EXPECT_EQ(ReadBlock(1000), BlockResult::kComplete);
  EXPECT_EQ(text_, "");
}

TEST_F(RepliesTest, TerminatorIsFoundWhereverReceivesSplitIt) {
  const std::string block = "one\r\n.\r\n";
  for (std::size_t split = 1; split < block.size(); ++split) {
    Server(block.substr(0, split));
    Server(block.substr(split));
    EXPECT_EQ(ReadBlock(1000), BlockResult::kComplete) << split;
    EXPECT_EQ(text_, "one") << split;
  }
}

TEST_F(RepliesTest, DotStuffingIsNotUndone) {
  Server("..dots\r\n..\r\n.\r\n");
  EXPECT_EQ(ReadBlock(1000), BlockResult::kComplete);
  EXPECT_EQ(text_, "..dots\r\n..");
}

TEST_F(RepliesTest, NoTextIsResultTwo) {
  EXPECT_EQ(ReadMultiline(nullptr, 1000, false, 1, 0), BlockResult::kNoText);
}

TEST_F(RepliesTest, BlockMayFillAllButTwoBytesOfItsBuffer) {
  const std::string block = std::string(93, 'x') + "\r\n.\r\n";  // 98 bytes
  Server(block);
  EXPECT_EQ(ReadBlock(100), BlockResult::kComplete);
  EXPECT_EQ(text_, std::string(93, 'x'));
}

TEST_F(RepliesTest, BlockThatFillsItsBufferIsOversized) {
  Server(std::string(94, 'x') + "\r\n.\r\n");  // 99 bytes, terminator included
  EXPECT_EQ(ReadBlock(100), BlockResult::kOversized);
}

TEST_F(RepliesTest, BlockBroughtAlongThatFillsTheBufferIsOversized) {
  EXPECT_EQ(ReadBlock(100, std::string(94, 'x') + "\r\n.\r\n"), BlockResult::kOversized);
  EXPECT_EQ(ReadBlock(100, std::string(2000, 'x') + "\r\n.\r\n"), BlockResult::kOversized);
  Server("more\r\n.\r\n");
  EXPECT_EQ(ReadBlock(100, std::string(2000, 'x')), BlockResult::kOversized);
}

TEST_F(RepliesTest, TinyBuffersAreOversized) {
  for (std::size_t capacity = 0; capacity <= 6; ++capacity) {
    EXPECT_EQ(ReadBlock(capacity, "a\r\n.\r\n"), BlockResult::kOversized) << capacity;
    Server("some text\r\n.\r\n");
    EXPECT_EQ(ReadBlock(capacity), BlockResult::kOversized) << capacity;
  }
  EXPECT_EQ(ReadBlock(0, ".\r\n"), BlockResult::kOversized);
  EXPECT_EQ(ReadBlock(4, ".\r\n"), BlockResult::kOversized);
  EXPECT_EQ(ReadBlock(5, ".\r\n"), BlockResult::kComplete);
}

TEST_F(RepliesTest, OversizedBlockIsReadToItsEndInEveryChunking) {
  for (const std::size_t chunk : {1U, 2U, 3U, 4U, 5U, 7U, 98U, 99U, 100U, 1000U}) {
    fake.sockets.SetChunk(chunk);
    Server(std::string(500, 'x') + "\r\n.\r\n");
    Server("200 next\r\n");
    EXPECT_EQ(ReadBlock(100), BlockResult::kOversized) << chunk;
    EXPECT_TRUE(ReadResponse());
    EXPECT_EQ(gConnection.reply, "200 next\r\n") << chunk;
  }
}

TEST_F(RepliesTest, TwoHundredMegabytesStreamThroughASmallBuffer) {
  const std::string piece = std::string(65'000, 'y') + "\r\n";
  for (int i = 0; i < 3200; ++i) Server(piece);
  Server(".\r\n");
  text_.clear();
  EXPECT_EQ(ReadBlock(4096), BlockResult::kOversized);
  EXPECT_LE(text_.capacity(), 2 * 4096U);
}

TEST_F(RepliesTest, BlockEndsAtItsFirstNul) {
  Server(std::string("ab\0cd\r\n.\r\n", 10));
  EXPECT_EQ(ReadBlock(1000), BlockResult::kComplete);
  EXPECT_EQ(text_, "ab");
}

TEST_F(RepliesTest, NulBytesCountTowardsTheBuffer) {
  Server(std::string(94, '\0') + "\r\n.\r\n");
  EXPECT_EQ(ReadBlock(100), BlockResult::kOversized);
  Server(std::string(93, '\0') + "\r\n.\r\n");
  EXPECT_EQ(ReadBlock(100), BlockResult::kComplete);
  EXPECT_EQ(text_, "");
}

TEST_F(RepliesTest, BlockCutByTheServerKeepsWhatCame) {
  Server("one\r\ntw");
  fake.sockets.Closes();
  EXPECT_EQ(ReadBlock(1000), BlockResult::kClosed);
  EXPECT_EQ(text_, "one\r\ntw");
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_EQ(fake.sockets.open_sockets(), 0);
  EXPECT_FALSE(gConnection.server_name.has_value());
}

TEST_F(RepliesTest, ReceiveErrorInABlockIsAClosedConnection) {
  Server("one\r\n");

  fake.sockets.FailReceive(2, 10054);
  Quits();
  EXPECT_EQ(ReadBlock(1000), BlockResult::kClosed);
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
}

TEST_F(RepliesTest, AbortEndsABlockBetweenReceives) {
  Server("0123456789");
  fake.sockets.Then([] { RequestAbort(); });
  Server("more\r\n.\r\n");
  fake.sockets.Release();
  EXPECT_EQ(ReadBlock(1000), BlockResult::kComplete);
  EXPECT_EQ(text_, "01234");
  EXPECT_NE(gConnection.wire.socket(), 0U);
}

class BlockProgressTest : public NntpTest {
 protected:
  // The detail lines while a block comes in pieces of these sizes.
  std::vector<std::u16string> DetailsOf(const std::vector<std::size_t>& pieces,
                                        std::size_t capacity, std::uint32_t estimated_k,
                                        bool show = true) {
    for (const std::size_t size : pieces) Server(std::string(size, 'x'));
    Server("\r\n.\r\n");
    RunWithProgress(u"title", [&] {
      Connected();
      std::string text;
      ReadMultiline(&text, capacity, show, 77, estimated_k);
      return 0;
    });
    return Details();
  }
};

TEST_F(BlockProgressTest, ShownAfterMoreThan4096Bytes) {
  EXPECT_EQ(DetailsOf({4096, 1, 4096, 1}, 100'000, 0),
            (std::vector<std::u16string>{u"article 77: 4k", u"article 77: 8k"}));
}

TEST_F(BlockProgressTest, NotYetShownAt4096Bytes) {
  std::vector<std::size_t> shown;  // texts at the start of each receive
  fake.sockets.on_call = [&](port::SocketCall call, int) {
    if (call == port::SocketCall::kReceive) shown.push_back(Details().size());
  };
  DetailsOf({4096, 1}, 100'000, 0);
  EXPECT_EQ(shown, (std::vector<std::size_t>{0, 0, 1}));
}

TEST_F(BlockProgressTest, ShownWithTheEstimateWhenThereIsOne) {
  EXPECT_EQ(DetailsOf({5120, 5120}, 100'000, 12),
            (std::vector<std::u16string>{u"article 77: 5k / 12k", u"article 77: 10k / 12k"}));
}

TEST_F(BlockProgressTest, SkippingAnOversizedArticleIsSaid) {
  EXPECT_EQ(
      DetailsOf({3000, 3000, 5000}, 4096, 12),
      (std::vector<std::u16string>{u"skipping large article 77: 5k (this may take some time)",
                                   u"skipping large article 77: 10k (this may take some time)"}));
}

TEST_F(BlockProgressTest, ReceiveThatOverflowsStillShowsTheArticle) {
  EXPECT_EQ(DetailsOf({5000, 5000}, 5001, 0),
            (std::vector<std::u16string>{
                u"article 77: 4k", u"skipping large article 77: 9k (this may take some time)"}));
}

TEST_F(BlockProgressTest, NotShownWhenNotAskedFor) {
  EXPECT_TRUE(DetailsOf({9000}, 100'000, 0, false).empty());
}

}  // namespace
}  // namespace quillet
