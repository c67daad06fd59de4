// SPDX-License-Identifier: GPL-3.0-or-later
// A small news server as plain values: groups with articles, what was posted, and one session that
// answers command lines. Used in memory and behind a real socket.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillet {

struct ModelArticle {
  std::uint32_t number = 0;
  std::string id;
  std::string head;  // lines with CR LF
  std::string body;  // lines with CR LF, dot-stuffed
};

struct ModelGroup {
  std::string name;
  std::vector<ModelArticle> articles;  // by ascending number
};

// A text that a client posted, as it came, without its terminator.
struct ModelPost {
  std::string id;  // empty when it has none
  std::string text;
};

struct NewsModel {
  std::vector<ModelGroup> groups;
  // What was taken. A text with a Message-ID that is here already is refused as a duplicate.
  std::vector<ModelPost> posts;

  // An article with the usual headers.
  void Add(const std::string& group, std::uint32_t number, const std::string& id,
           const std::string& body);
};

class NewsSession {
 public:
  explicit NewsSession(NewsModel& model) : model_(model) {}

  static std::string Greeting() { return "200 model news server ready\r\n"; }
  // The whole answer to a line (without its CR LF); empty to a line of a text but its last.
  std::string Reply(std::string_view line);
  bool quit() const { return quit_; }

 private:
  std::string Enter(std::string_view name);
  std::string Stat(std::uint32_t number);
  std::string Next();
  std::string Stand(std::size_t at);
  std::string Text(const char* code, const std::string ModelArticle::*text) const;

  std::string TakeText(std::string_view line);

  NewsModel& model_;
  std::string posted_;    // so far
  bool in_text_ = false;  // the client is sending one
  const ModelGroup* group_ = nullptr;
  std::size_t at_ = 0;  // beyond the last article: there is no current one
  bool quit_ = false;
};

}  // namespace quillet
