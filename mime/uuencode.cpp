// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/uuencode.h"

#include <algorithm>
#include <cstdint>

#include "mime/text_lines.h"
#include "mime/transfer.h"
#include "util/base64.h"

namespace quillet {
namespace {

constexpr std::string_view kEnd = "end";
constexpr std::string_view kBase64End = "====";
constexpr std::size_t kShortestCutBase64 = 40;  // shorter lines may be words

// "begin 644 name": the name.
std::optional<std::string_view> NameOf(std::string_view line, std::string_view begin) {
  if (!line.starts_with(begin)) return std::nullopt;
  line = WithoutTrailingBlanks(line.substr(begin.size()));
  const std::size_t mode = std::min(line.find_first_not_of("01234567"), line.size());
  if (mode < 3 || mode > 6 || mode + 1 >= line.size() || line[mode] != ' ') return std::nullopt;
  line.remove_prefix(mode);
  line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  return line.empty() ? std::nullopt : std::optional(line);
}

// Six bits. The blank and the grave accent are both 0.
std::uint32_t Bits(char c) {
  return static_cast<std::uint32_t>(c - ' ') & 0x3F;
}

struct UuLine {
  std::size_t bytes = 0;  // that it says it holds
  bool full = false;      // no character of it is missing
};

std::optional<UuLine> ReadUuLine(std::string_view line) {
  if (line.empty()) return UuLine{0, true};  // a blank that was cut off
  if (!std::ranges::all_of(line, [](char c) { return c >= ' ' && c <= '`'; })) return std::nullopt;
  const UuLine read{Bits(line[0]), false};
  const std::size_t wanted = 1 + (read.bytes + 2) / 3 * 4;
  const std::size_t length = WithoutTrailingBlanks(line).size();
  if (length > wanted + 1) return std::nullopt;
  // Some leave the characters out that the last bytes do not need.
  const std::size_t needed = 1 + (read.bytes * 4 + 2) / 3;
  return UuLine{read.bytes, line.size() >= needed};
}

// What was cut off were blanks.
void DecodeUuLine(std::string_view line, std::size_t bytes, std::string& out) {
  const auto bits = [line](std::size_t at) { return at < line.size() ? Bits(line[at]) : 0; };
  for (std::size_t at = 1; bytes > 0; at += 4) {
    const std::uint32_t three =
        bits(at) << 18 | bits(at + 1) << 12 | bits(at + 2) << 6 | bits(at + 3);
    for (int shift = 16; shift >= 0 && bytes > 0; shift -= 8, --bytes) {
      out += static_cast<char>(three >> shift & 0xFF);
    }
  }
}

// Where the line "end" ends, when it stands at the place.
std::optional<std::size_t> EndLineAt(std::string_view text, std::size_t place,
                                     std::string_view wanted) {
  const TextLine line = LineAt(text, place);
  if (WithoutTrailingBlanks(line.text) != wanted) return std::nullopt;
  return line.end;
}

bool IsBase64Line(std::string_view line) {
  const std::size_t data = std::min(line.find_last_not_of('=') + 1, line.size());
  return line.size() % 4 == 0 && !line.empty() && line.size() - data <= 2 &&
         std::ranges::all_of(line.substr(0, data),
                             [](char c) { return Base64Value(c) != kNoBase64Letter; });
}

}  // namespace

std::optional<UuFile> UuFileAt(std::string_view text, std::size_t place) {
  const TextLine begin = LineAt(text, place);
  const auto name = NameOf(begin.text, "begin ");
  if (!name) return std::nullopt;
  UuFile file{*name, begin.end, {}};
  std::size_t sound_bytes = 0;  // up to the last full line, where `end` is
  bool any = false;
  for (std::size_t at = begin.end; at < text.size();) {
    if (const auto end = any ? EndLineAt(text, at, kEnd) : std::nullopt) {
      file.end = *end;
      return file;
    }
    const TextLine line = LineAt(text, at);
    const auto read = ReadUuLine(line.text);
    if (!read) break;
    DecodeUuLine(line.text, read->bytes, file.bytes);
    any = true;
    at = line.end;
    if (read->bytes == 0) {
      const auto end = EndLineAt(text, at, kEnd);
      if (!end) break;
      file.end = *end;
      return file;
    }
    if (!read->full) continue;
    sound_bytes = file.bytes.size();
    file.end = line.end;
  }
  if (sound_bytes == 0) return std::nullopt;
  file.bytes.resize(sound_bytes);
  return file;
}

std::optional<UuFile> Base64FileAt(std::string_view text, std::size_t place) {
  const TextLine begin = LineAt(text, place);
  const auto name = NameOf(begin.text, "begin-base64 ");
  if (!name) return std::nullopt;
  UuFile file{*name, begin.end, {}};
  bool sound = false;  // without an end, too
  while (file.end < text.size()) {
    if (const auto end = EndLineAt(text, file.end, kBase64End)) {
      file.end = *end;
      return file;
    }
    const TextLine line = LineAt(text, file.end);
    const std::string_view data = WithoutTrailingBlanks(line.text);
    if (!IsBase64Line(data)) break;
    DecodeBase64(data, file.bytes);
    sound = sound || data.size() >= kShortestCutBase64;
    file.end = line.end;
  }
  return sound ? std::optional(std::move(file)) : std::nullopt;
}

}  // namespace quillet
