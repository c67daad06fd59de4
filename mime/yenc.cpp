// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/yenc.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>

#include "mime/text_lines.h"
#include "util/blanks.h"

namespace quillet {
namespace {

// CRC-32 of the reflected polynomial EDB88320.
constexpr std::array<std::uint32_t, 256> kCrcOfByte = [] {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
    std::uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc % 2 == 1 ? 0xEDB88320U : 0);
    table[byte] = crc;
  }
  return table;
}();

std::uint32_t Crc32(std::string_view bytes) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (const char c : bytes)
    crc = crc >> 8 ^ kCrcOfByte[(crc ^ static_cast<std::uint8_t>(c)) & 255];
  return ~crc;
}

// A line "=y... key=value key=value name=the rest".
class Keywords {
 public:
  explicit Keywords(std::string_view line) : line_(line) {
    const std::size_t name = line_.find(" name=");
    if (name == std::string_view::npos) return;
    name_ = Trimmed(line_.substr(name + 6));
    line_ = line_.substr(0, name);
  }

  const std::optional<std::string_view>& name() const { return name_; }

  std::optional<std::uint64_t> Number(std::string_view key, int base = 10) const {
    const std::string wanted = " " + std::string(key) + "=";
    const std::size_t at = line_.find(wanted);
    if (at == std::string_view::npos) return std::nullopt;
    const std::string_view digits = line_.substr(at + wanted.size());
    std::uint64_t number = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), number, base);
    if (read.ec != std::errc()) return std::nullopt;
    return number;
  }

 private:
  std::string_view line_;
  std::optional<std::string_view> name_;
};

void DecodeLine(std::string_view line, std::string& out) {
  for (std::size_t at = 0; at < line.size(); ++at) {
    int byte = static_cast<std::uint8_t>(line[at]);
    if (line[at] == '=') {
      if (++at == line.size()) return;
      byte = static_cast<std::uint8_t>(line[at]) - 64;
    }
    out += static_cast<char>(byte - 42);
  }
}

// What a sender says of the file.
struct Promised {
  std::uint64_t line = 0;
  std::uint64_t size = 0;  // of the file, or of its part
  bool whole = true;       // the part is the file
};

class Reader {
 public:
  Reader(std::string_view text, const Keywords& begin, std::size_t place)
      : text_(text), part_(begin.Number("part").has_value()) {
    file_.name = *begin.name();
    file_.end = place;
    promised_ = {*begin.Number("line"), *begin.Number("size"), true};
    if (part_) TakePartLine();
  }

  std::optional<YEncFile> Read() {
    const std::size_t data = file_.end;
    for (std::size_t at = data; at < text_.size();) {
      const TextLine line = LineAt(text_, at);
      if (line.text.starts_with("=yend ")) {
        file_.end = line.end;
        file_.damaged = !Agrees(Keywords(line.text));
        return std::move(file_);
      }
      // No escape makes these two characters.
      if (line.text.starts_with("=y")) break;
      DecodeLine(line.text, file_.bytes);
      at = line.end;
    }
    file_.bytes.clear();
    return ReadCut(data);
  }

 private:
  void TakePartLine() {
    const TextLine line = LineAt(text_, file_.end);
    if (!line.text.starts_with("=ypart ")) return;
    const Keywords words(line.text);
    const auto first = words.Number("begin"), last = words.Number("end");
    file_.end = line.end;
    if (!first || !last || *first == 0 || *last < *first) return;
    const std::uint64_t size = *last - *first + 1;
    promised_.whole = size == promised_.size;
    promised_.size = size;
  }

  bool Agrees(const Keywords& end) const {
    if (file_.bytes.size() != promised_.size) return false;
    if (end.Number("size").value_or(promised_.size) != promised_.size) return false;
    const std::uint32_t crc = Crc32(file_.bytes);
    if (part_ && end.Number("pcrc32", 16).value_or(crc) != crc) return false;
    return !promised_.whole || end.Number("crc32", 16).value_or(crc) == crc;
  }

  // Without its last line: as far as it looks like one.
  std::optional<YEncFile> ReadCut(std::size_t at) {
    while (at < text_.size() && file_.bytes.size() < promised_.size) {
      const TextLine line = LineAt(text_, at);
      if (line.text.starts_with("=y")) break;
      const std::size_t before = file_.bytes.size();
      DecodeLine(line.text, file_.bytes);
      const std::uint64_t length = file_.bytes.size() - before;
      if (length != promised_.line && file_.bytes.size() != promised_.size) {
        file_.bytes.resize(before);
        break;
      }
      at = file_.end = line.end;
    }
    if (file_.bytes.empty()) return std::nullopt;
    file_.damaged = file_.bytes.size() != promised_.size;
    return std::move(file_);
  }

  std::string_view text_;
  bool part_;
  Promised promised_;
  YEncFile file_;
};

}  // namespace

std::optional<YEncFile> YEncFileAt(std::string_view text, std::size_t place) {
  const TextLine line = LineAt(text, place);
  if (!line.text.starts_with("=ybegin ")) return std::nullopt;
  const Keywords words(line.text);
  if (!words.name() || !words.Number("line") || !words.Number("size")) return std::nullopt;
  return Reader(text, words, line.end).Read();
}

}  // namespace quillet
