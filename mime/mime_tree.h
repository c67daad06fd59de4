// SPDX-License-Identifier: GPL-3.0-or-later
// The parts of a body, as a tree. Pure; any thread.
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "mime/part_head.h"

namespace quillet {

struct MimePart {
  PartHead head;
  std::string_view own_head;    // its head lines
  std::string_view body;        // as it stands there, encoded
  std::vector<MimePart> parts;  // of a multipart, or the one message of a message
  // Of a multipart: what stands around the parts, and whether its boundary came at all.
  std::string_view preamble, epilogue;
  bool broken = false;

  bool IsMultipart() const { return head.type.starts_with("multipart/"); }
  bool IsMessage() const { return head.type == "message/rfc822" || head.type == "message/global"; }
};

// Borrows the texts; a message that came encoded is kept here decoded.
class MimeTree {
 public:
  MimeTree(std::string_view head, std::string_view body);

  const MimePart& root() const { return root_; }

 private:
  void Read(MimePart& part, std::size_t depth);
  void Split(MimePart& part, std::size_t depth);
  void AddPart(MimePart& parent, std::string_view entity, std::size_t depth);

  std::deque<std::string> decoded_;
  std::size_t count_ = 0;
  MimePart root_;
};

// A part's bytes, without its transfer encoding. `rest` is text that stands behind them, undecoded;
// `sound` is false where the body is nothing of the kind.
struct PartBytes {
  std::string bytes;
  std::string_view rest;
  bool sound = true;
};
PartBytes DecodeTransfer(std::string_view body, Transfer transfer);

}  // namespace quillet
