// SPDX-License-Identifier: GPL-3.0-or-later
// The body of an article as text: charsets, transfer encodings, parts, and files that lie in the
// text. Any thread; pure but for the switch of mime/decoding.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillet {

// What an article holds beside its text.
struct Attachment {
  // As shown: never empty, on one line, without control characters and changes of the writing
  // direction. No name of a file yet: see SafeFileName.
  std::u16string name;
  std::string type;         // "image/jpeg", in small letters
  std::uint64_t bytes = 0;  // decoded
  std::size_t part = 0;     // for AttachmentBytes
  bool operator==(const Attachment&) const = default;
};

// An article's body where it is stored; borrowed.
struct BodySource {
  std::string_view head;  // the kept header lines, which may be none
  std::string_view body;
  bool stuffed = false;  // as a server sent it: dots at the start of a line are doubled
};

struct DecodedBody {
  std::u16string text;  // line ends as stored; decoded lines end with CR LF
  std::vector<Attachment> attachments;
  // Something could not be decoded; it is shown as it is stored.
  bool damaged = false;
  // Its lines are whole paragraphs: each begins with its depth of quoting in ">" signs, and a blank
  // behind them.
  bool flowed = false;
};

// Never throws text away. While decoding is off, and for an article that needs none, the text is
// the stored one in code page 1252 (without the doubled dots when decoding is on).
DecodedBody DecodeBody(const BodySource& source);

// The text as it is stored, in code page 1252.
std::u16string RawBody(std::string_view stored);

// Of DecodeBody's attachments the one with that part number; empty when there is none.
std::string AttachmentBytes(const BodySource& source, std::size_t part);

// The attachment's line below the text, without a line end: "Attachment: photo.jpg, image/jpeg,
// 48.2K".
std::u16string AttachmentLine(const Attachment& attachment);

// A name that can only mean a file in the folder that it is saved to: no separators, no leading
// dots, no control characters, 120 units at most, its extension kept. Never empty.
std::u16string SafeFileName(std::u16string_view name);

}  // namespace quillet
