// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/manifest.h"

#include <vector>

namespace quillet::demo {
namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";
constexpr std::size_t kTerminatorSize = 3;  // ".\r\n"

void AppendEscaped(std::string& text, unsigned char byte) {
  text += "\\u00";
  text += kHexDigits[byte >> 4U];
  text += kHexDigits[byte & 0xFU];
}

std::string JsonList(const std::vector<std::string>& texts) {
  std::string list = "[";
  for (const std::string& text : texts) {
    if (list.size() > 1) list += ',';
    list += JsonText(text);
  }
  return list + "]";
}

std::string Member(std::string_view name, const std::string& value) {
  return "\"" + std::string(name) + "\":" + value;
}

// The text without its last line end.
std::string StoredText(const std::string& wire) {
  return wire.empty() ? wire : wire.substr(0, wire.size() - 2);
}

}  // namespace

std::string JsonText(std::string_view bytes) {
  std::string text = "\"";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte >= 0x7F || c == '"' || c == '\\') {
      AppendEscaped(text, byte);
    } else {
      text += c;
    }
  }
  return text + "\"";
}

std::string ManifestLine(const GeneratedArticle& article) {
  const ExpectedFields& expected = article.expected;
  const std::string body = WireText(article.body);
  const std::size_t head_size = WireText(article.head).size() + kTerminatorSize;
  std::string line = "{";
  line += Member("message_id", JsonText(article.message_id)) + ",";
  line += Member("groups", JsonList(article.groups)) + ",";
  line += Member("subject", JsonText(expected.subject)) + ",";
  line += Member("from", JsonText(expected.from)) + ",";
  line += Member("date", JsonText(expected.date)) + ",";
  line += Member("reply_to", JsonText(expected.reply_to)) + ",";
  line += Member("parent_id", JsonText(expected.parent_id)) + ",";
  line += Member("kept", JsonList(expected.kept)) + ",";
  line += Member("last_line_kept", expected.last_line_kept ? "true" : "false") + ",";
  line += Member("head_size", std::to_string(head_size)) + ",";
  line += Member("body_size", std::to_string(body.size() + kTerminatorSize)) + ",";
  line += Member("lines_header", std::to_string(expected.lines_header)) + ",";
  line += Member("body", JsonText(StoredText(body)));
  return line + "}\n";
}

}  // namespace quillet::demo
