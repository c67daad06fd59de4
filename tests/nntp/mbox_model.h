// SPDX-License-Identifier: GPL-3.0-or-later
// What importing an mbox file does, worked out a second time from the whole file at once.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace quillet {

struct ImportedMessage {
  std::string headers;
  std::string body;
  std::string subject;
  std::string from;
  std::string parent;
  std::string date;
  std::string reply_to;
  bool operator==(const ImportedMessage&) const = default;
};

// A store and a group list; texts in code page 1252.
struct ImportModel {
  std::vector<std::string> groups;                         // of the list
  std::map<std::string, ImportedMessage> articles;         // by Message-ID
  std::map<std::string, std::vector<std::string>> chains;  // Message-IDs of a group, oldest first
  char terminator = '\n';

  enum class End { kDone, kNoMbox, kCorrupt };
  End end = End::kDone;
  unsigned imported = 0;

  void Import(std::string_view file);

 private:
  std::vector<std::string> Lines(std::string_view file);
  void Take(const std::string& head, const std::string& body);
};

}  // namespace quillet
