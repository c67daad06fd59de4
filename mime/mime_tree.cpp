// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/mime_tree.h"

#include <algorithm>

#include "mime/binary_in_text.h"
#include "mime/transfer.h"

namespace quillet {
namespace {

constexpr std::size_t kDeepest =
    32;  // parts inside of parts; each level is looked through once more
constexpr std::size_t kMostParts = 1000;
constexpr std::size_t kLongestBoundary = 256;

enum class Delimiter { kNone, kNext, kLast };

Delimiter DelimiterIn(std::string_view line, std::string_view boundary) {
  if (!line.starts_with("--") || !line.substr(2).starts_with(boundary)) return Delimiter::kNone;
  line.remove_prefix(2 + boundary.size());
  const bool last = line.starts_with("--");
  if (last) line.remove_prefix(2);
  const bool clean = line.find_first_not_of(" \t\r\n") == std::string_view::npos;
  return !clean ? Delimiter::kNone : last ? Delimiter::kLast : Delimiter::kNext;
}

// A delimiter has the line end before it.
std::string_view WithoutLastLineEnd(std::string_view text) {
  if (text.ends_with('\n')) text.remove_suffix(1);
  if (text.ends_with('\r')) text.remove_suffix(1);
  return text;
}

bool ReachesFarther(const MimePart& part) {
  return part.IsMultipart() || part.IsMessage();
}

}  // namespace

MimeTree::MimeTree(std::string_view head, std::string_view body) {
  root_.own_head = head;
  root_.body = body;
  root_.head = ReadPartHead(head, "text/plain");
  root_.head.attached = false;  // to what?
  Read(root_, 0);
}

void MimeTree::Read(MimePart& part, std::size_t depth) {
  if (part.head.attached) return;  // listed as it is
  if (!ReachesFarther(part)) return;
  if (depth == kDeepest) {
    part.broken = true;
  } else if (part.IsMultipart()) {
    Split(part, depth);
  } else {
    std::string_view message = part.body;
    if (part.head.transfer != Transfer::kNone) {
      message = decoded_.emplace_back(DecodeTransfer(message, part.head.transfer).bytes);
    }
    AddPart(part, message, depth);
  }
}

void MimeTree::AddPart(MimePart& parent, std::string_view entity, std::size_t depth) {
  ++count_;
  MimePart& part = parent.parts.emplace_back();
  const HeadAndBody split = SplitHead(entity);
  part.own_head = split.head;
  part.body = split.body;
  const bool digest = parent.head.type == "multipart/digest";
  part.head = ReadPartHead(split.head, digest ? "message/rfc822" : "text/plain");
  Read(part, depth + 1);
}

void MimeTree::Split(MimePart& part, std::size_t depth) {
  const std::string_view boundary = part.head.boundary, body = part.body;
  part.broken = true;
  if (boundary.empty() || boundary.size() > kLongestBoundary) return;
  std::size_t start = 0;  // of the part that is being looked through
  bool inside = false;
  const auto end_piece = [&](std::size_t at) {
    const std::string_view piece = WithoutLastLineEnd(body.substr(start, at - start));
    if (inside) {
      AddPart(part, piece, depth);
    } else {
      part.preamble = piece;
    }
  };
  for (std::size_t at = 0; at < body.size();) {
    const std::size_t end = std::min(body.find('\n', at), body.size() - 1) + 1;
    const Delimiter delimiter = DelimiterIn(body.substr(at, end - at), boundary);
    if (delimiter != Delimiter::kNone) {
      end_piece(at);
      part.broken = false;
      inside = delimiter == Delimiter::kNext;
      start = end;
      if (delimiter == Delimiter::kLast) break;
      if (count_ >= kMostParts) {
        part.broken = true;
        part.epilogue = body.substr(at);
        return;
      }
    }
    at = end;
  }
  if (inside) {
    AddPart(part, body.substr(start), depth);  // its end never came
  } else if (!part.broken) {
    part.epilogue = body.substr(start);
  }
}

PartBytes DecodeTransfer(std::string_view body, Transfer transfer) {
  switch (transfer) {
    case Transfer::kNone:
      break;
    case Transfer::kQuotedPrintable:
      return {.bytes = DecodeQuotedPrintable(body), .rest = {}, .sound = true};
    case Transfer::kBase64: {
      const Base64Extent extent = FindBase64(body);
      PartBytes result{.bytes = {}, .rest = body.substr(extent.end), .sound = extent.is_base64};
      DecodeBase64(body.substr(0, extent.end), result.bytes);
      return result;
    }
    case Transfer::kUuencode: {
      const std::vector<BinaryInText> found = FindBinariesInText(body);
      if (found.empty()) return {.bytes = std::string(body), .rest = {}, .sound = false};
      return {.bytes = DecodeBinaryInText(body, found.front()), .rest = {}, .sound = true};
    }
  }
  return {.bytes = std::string(body), .rest = {}, .sound = true};
}

}  // namespace quillet
