// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/nntp/post_text_reference.h"

#include <vector>

namespace quillet {
namespace {

std::string BeforeNul(const std::string& text) {
  return text.c_str();
}

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::string line;
  for (const char c : text) {
    if (c != '\n') {
      line += c;
      continue;
    }
    if (!line.empty()) lines.push_back(line);
    line = "";
  }
  if (!line.empty()) lines.push_back(line);
  return lines;
}

std::string Sent(const std::string& text, bool is_header) {
  std::string sent;
  for (std::string line : LinesOf(text)) {
    if (line[0] == '.') sent += ".";
    bool continues = false;
    while (line.size() > 500) {
      int at = 499;
      while (at > 0 && line[static_cast<std::size_t>(at)] != ' ') --at;
      const std::size_t cut = at > 0 ? static_cast<std::size_t>(at) : 499;
      if (continues && line.substr(0, cut) == ".") sent += ".";
      sent += line.substr(0, cut) + "\r\n";
      line = line.substr(cut);
      if (at > 0 && is_header) line[0] = '\t';
      if (at > 0 && !is_header) line = line.substr(1);
      continues = true;
    }
    if (continues && (line == "." || line == ".\r")) sent += ".";
    sent += line;
    sent += line[line.size() - 1] == '\r' ? "\n" : "\r\n";
  }
  return sent;
}

}  // namespace

std::string PlainlyWrapped(const std::string& body) {
  const std::string text = BeforeNul(body);
  std::vector<bool> breaks(text.size(), false);
  std::size_t column = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '\r' || text[at] == '\n') {
      column = 0;
      continue;
    }
    ++column;
    if (column >= 73 && column <= 79 && text[at] == ' ' && at + 1 != text.size() &&
        text[at + 1] != ' ' && text[at + 1] != '\r') {
      breaks[at] = true;
      column = 0;
    }
    if (column == 80) {
      for (std::size_t back = 8; back <= 79; ++back) {
        if (text[at - back] != ' ') continue;
        breaks[at - back] = true;
        column = back;
        break;
      }
    }
  }
  std::string wrapped;
  for (std::size_t at = 0; at < text.size(); ++at) {
    wrapped += breaks[at] ? std::string("\r\n") : std::string(1, text[at]);
  }
  return wrapped;
}

std::string PlainlyBuilt(const std::string& header, const std::string& body) {
  return Sent(BeforeNul(header), true) + "X-Newsreader: Quillet CE 1.14r3\r\n\r\n" +
         Sent(BeforeNul(body), false) + "\r\n.\r\n";
}

}  // namespace quillet
