// SPDX-License-Identifier: GPL-3.0-or-later
// Three readers over the wire, for a conversation in turns. They take all that has come with a
// reply: a reply ends where a receive ends, not at the first line end. An article text is collected
// in a buffer of fixed capacity; when it fills, only the last five bytes are kept from then on, so
// that the terminator is still found across two receives.
#include "nntp/replies.h"

#include <algorithm>
#include <new>
#include <optional>

#include "base/long_operation.h"
#include "nntp/connection.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::string_view kBlockEnd = "\r\n.\r\n";
constexpr std::size_t kProgressStep = 4096;

constexpr std::size_t kLongestLine = kLineBufferSize - 1;

std::string_view TakePending() {
  return gConnection.wire.Take(gConnection.wire.Pending().size());
}

// What is left over, or else one receive; nothing when the connection is lost.
std::string_view TakeSome(std::size_t room) {
  Wire& wire = gConnection.wire;
  if (wire.Pending().empty() && !wire.Receive(room)) return {};
  return wire.Take(std::min(room, wire.Pending().size()));
}

void CutAtNul(std::string& text) {
  text.resize(std::min(text.find('\0'), text.size()));
}

// The next token of a line, taken off its front.
std::string_view TakeToken(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  const std::string_view token = line.substr(0, line.find(' '));
  line.remove_prefix(token.size());
  return token;
}

// A block on its way in.
struct Block {
  std::string& text;
  std::size_t capacity;
  std::uint32_t article_number;
  std::uint32_t estimated_k;
  bool oversized = false;
  std::uint32_t total = 0;
  std::uint32_t shown = 0;
};

// Keeps the last bytes only, so that the terminator is still found across two receives.
void KeepTail(std::string& text) {
  if (text.size() > kBlockEnd.size()) text.erase(0, text.size() - kBlockEnd.size());
}

void CheckOverflow(Block& block) {
  if (block.text.size() + 1 < block.capacity) return;
  block.oversized = true;
  KeepTail(block.text);
}

// While discarding, the text is the tail of all that came. Cut first, so that the little that is
// added fits where the text lies and asks for no memory.
void AppendToTail(Block& block, std::string_view received) {
  KeepTail(block.text);
  received.remove_prefix(received.size() - std::min(received.size(), kBlockEnd.size()));
  block.text.append(received);
  KeepTail(block.text);
}

void Append(Block& block, std::string_view received) {
  try {
    block.text.append(received);
  } catch (const std::bad_alloc&) {
    // No memory for a buffer this large: the article is too large for this device. What came
    // counts all the same, the terminator may be in it.
    block.oversized = true;
    return AppendToTail(block, received);
  }
  CheckOverflow(block);
}

std::size_t RoomIn(const Block& block) {
  return block.oversized ? Wire::kReadAhead : block.capacity - 1 - block.text.size();
}

void ShowProgress(Block& block) {
  if (block.total - block.shown <= kProgressStep) return;
  block.shown = block.total;
  const std::uint32_t k = block.total >> 10;
  if (block.oversized) {
    SetProgressDetail(FormatWide(u"skipping large article %lu: %luk (this may take some time)",
                                 block.article_number, k));
  } else if (block.estimated_k != 0) {
    SetProgressDetail(
        FormatWide(u"article %lu: %luk / %luk", block.article_number, k, block.estimated_k));
  } else {
    SetProgressDetail(FormatWide(u"article %lu: %luk", block.article_number, k));
  }
}

// False when the connection is lost.
bool ReceiveBlockPart(Block& block, bool show_progress) {
  const std::string_view received = TakeSome(RoomIn(block));
  if (received.empty()) return false;
  block.total += static_cast<std::uint32_t>(received.size());
  // Before the text is judged: that an article is skipped is said from the next receive on.
  if (show_progress) ShowProgress(block);
  if (block.oversized) {
    AppendToTail(block, received);
  } else {
    Append(block, received);
  }
  return true;
}

// Also after an abort, when the last bytes are no terminator: the caller drops such a text.
void RemoveTerminator(std::string& text) {
  if (text.size() >= 5) {
    text.resize(text.size() - 5);
  } else if (text.size() >= 3) {
    text.resize(text.size() - 3);
  }
}

}  // namespace

bool ReadResponse() {
  std::string& reply = gConnection.reply;
  reply.clear();
  do {
    const auto line = gConnection.wire.ReadLine(kLongestLine - reply.size());
    if (!line) {
      NoteLoss();
      return false;
    }
    reply.append(*line);
  } while (!gConnection.wire.Pending().empty());
  CutAtNul(reply);
  LogTransaction(reply);
  return true;
}

bool ReadStatusLine(std::string& rest) {
  const std::optional<std::string_view> received = gConnection.wire.ReadLine(kLongestLine);
  if (!received) {
    LogLoss();
    return false;
  }
  const std::size_t line_feed = received->find('\n');  // a lone one ends the status line as well
  std::string_view line = received->substr(0, line_feed);
  gConnection.status_line = line.substr(0, line.find_first_of(std::string_view("\r\0", 2)));
  gConnection.last_status = static_cast<std::int32_t>(LeadingNumber(TakeToken(line)));
  gConnection.last_article_number = LeadingNumber(TakeToken(line));
  rest.append(received->substr(line_feed + 1));
  rest.append(TakePending());
  return true;
}

BlockResult ReadMultiline(std::string* text, std::size_t capacity, bool show_progress,
                          std::uint32_t article_number, std::uint32_t estimated_k) {
  if (text == nullptr) return BlockResult::kNoText;
  Block block{*text, capacity, article_number, estimated_k};
  CheckOverflow(block);
  while (!IsTerminated(*text) && !AbortRequested()) {
    if (ReceiveBlockPart(block, show_progress)) continue;
    if (AbortRequested()) break;
    NoteLoss();
    CutAtNul(*text);
    return BlockResult::kClosed;
  }
  RemoveTerminator(*text);
  CutAtNul(*text);
  return block.oversized ? BlockResult::kOversized : BlockResult::kComplete;
}

bool IsTerminated(std::string_view text) {
  if (text.size() == 3) return text == ".\r\n";
  return EndsWith(text, kBlockEnd);
}

std::uint32_t LeadingNumber(std::string_view text) {
  std::uint32_t number = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') break;
    number = number * 10 + static_cast<std::uint32_t>(c - '0');
  }
  return number;
}

std::uint32_t GetNumericField(std::string_view line, int field) {
  for (; field > 0; --field) {
    const std::size_t blank = line.find(' ');
    if (blank == std::string_view::npos) return 0;
    line.remove_prefix(blank + 1);
  }
  const std::string_view digits = line.substr(0, line.find(' '));
  const bool all_digits = digits.find_first_not_of("0123456789") == std::string_view::npos;
  return all_digits ? LeadingNumber(digits) : 0;
}

}  // namespace quillet
