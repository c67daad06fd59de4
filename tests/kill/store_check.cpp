// SPDX-License-Identifier: GPL-3.0-or-later
// Prints what the files of a closed store hold as one JSON object, for the kills of the whole
// program.
#include <cstdio>
#include <string>
#include <string_view>

#include "tests/kill/store_reader.h"

namespace quillet {
namespace {

// Bytes as the characters of the same numbers.
std::string Quoted(std::string_view bytes) {
  std::string text = "\"";
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 32 || byte > 126 || c == '"' || c == '\\') {
      char escaped[8];
      std::snprintf(escaped, sizeof escaped, "\\u%04x", byte);
      text += escaped;
    } else {
      text += c;
    }
  }
  return text + '"';
}

// The parts of a list or an object, separated by commas.
class Joined {
 public:
  void Add(const std::string& part) { text_ += (text_.empty() ? "" : ",") + part; }
  std::string List() const { return "[" + text_ + "]"; }
  std::string Object() const { return "{" + text_ + "}"; }

 private:
  std::string text_;
};

std::string Articles(const std::map<std::string, FoundArticle>& articles) {
  Joined all;
  for (const auto& [id, article] : articles) {
    all.Add(Quoted(id) + ":{\"read\":" + (article.read ? "true" : "false") +
            ",\"number\":" + std::to_string(article.number) +
            ",\"headers\":" + Quoted(article.headers) + ",\"body\":" + Quoted(article.body) + "}");
  }
  return all.Object();
}

std::string Chains(const FoundStore& found) {
  Joined all;
  for (const auto& [group, chain] : found.chains) {
    Joined ids;
    for (const FoundChainRecord& record : chain) ids.Add(Quoted(record.message_id));
    all.Add(Quoted(group) + ":" + ids.List());
  }
  return all.Object();
}

std::string Lost(const FoundStore& found) {
  Joined all;
  for (const auto& [id, groups] : found.lost) {
    Joined names;
    for (const std::string& group : groups) names.Add(Quoted(group));
    all.Add(Quoted(id) + ":" + names.List());
  }
  return all.Object();
}

std::string Faults(const FoundStore& found) {
  Joined all;
  for (const std::string& fault : found.faults) all.Add(Quoted(fault));
  return all.List();
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  using namespace quillet;  // NOLINT: the helpers above
  if (argc != 2) {
    std::fputs("usage: quillet-store-check FOLDER\n", stderr);
    return 2;
  }
  const FoundStore found = ReadStore(argv[1]);
  std::printf("{\"articles\":%s,\"chains\":%s,\"posts\":%s,\"lost\":%s,\"faults\":%s}\n",
              Articles(found.articles).c_str(), Chains(found).c_str(),
              Articles(found.posts).c_str(), Lost(found).c_str(), Faults(found).c_str());
  return 0;
}
