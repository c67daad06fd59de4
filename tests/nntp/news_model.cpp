// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/nntp/news_model.h"

#include <algorithm>
#include <utility>

namespace quillet {

void NewsModel::Add(const std::string& group, std::uint32_t number, const std::string& id,
                    const std::string& body) {
  auto found = std::find_if(groups.begin(), groups.end(),
                            [&](const ModelGroup& g) { return g.name == group; });
  if (found == groups.end()) found = groups.insert(groups.end(), {group, {}});
  found->articles.push_back({number, id,
                             "Path: model\r\nFrom: ann@example.org\r\nNewsgroups: " + group +
                                 "\r\nSubject: number " + std::to_string(number) +
                                 "\r\nDate: 1 Jan 2024 10:00:00 GMT\r\nMessage-ID: " + id + "\r\n",
                             body});
}

std::string NewsSession::TakeText(std::string_view line) {
  if (line != ".") {
    posted_.append(line).append("\r\n");
    return "";
  }
  in_text_ = false;
  ModelPost post{"", std::exchange(posted_, "")};
  constexpr std::string_view kName = "\r\nMessage-ID: ";
  const std::size_t field = ("\r\n" + post.text).find(kName);
  if (field < post.text.find("\r\n\r\n")) {
    const std::size_t value = field + kName.size() - 2;
    post.id = post.text.substr(value, post.text.find('\r', value) - value);
  }
  const auto same = [&](const ModelPost& other) { return !post.id.empty() && other.id == post.id; };
  if (std::any_of(model_.posts.begin(), model_.posts.end(), same)) return "441 435 Duplicate\r\n";
  model_.posts.push_back(std::move(post));
  return "240 taken\r\n";
}

std::string NewsSession::Reply(std::string_view line) {
  if (in_text_) return TakeText(line);
  if (line == "POST") {
    in_text_ = true;
    return "340 send it\r\n";
  }
  if (line.starts_with("GROUP ")) return Enter(line.substr(6));
  if (line.starts_with("STAT ")) {
    return Stat(static_cast<std::uint32_t>(std::stoul(std::string(line.substr(5)))));
  }
  if (line == "NEXT") return Next();
  if (line == "HEAD") return Text("221", &ModelArticle::head);
  if (line == "BODY") return Text("222", &ModelArticle::body);
  if (line == "QUIT") {
    quit_ = true;
    return "205 bye\r\n";
  }
  return "500 what?\r\n";
}

std::string NewsSession::Enter(std::string_view name) {
  const auto found = std::find_if(model_.groups.begin(), model_.groups.end(),
                                  [&](const ModelGroup& g) { return g.name == name; });
  if (found == model_.groups.end()) return "411 no such group\r\n";
  group_ = &*found;
  at_ = 0;
  const std::vector<ModelArticle>& articles = group_->articles;
  const std::uint32_t first = articles.empty() ? 1 : articles.front().number;
  const std::uint32_t last = articles.empty() ? 0 : articles.back().number;
  return "211 " + std::to_string(articles.size()) + " " + std::to_string(first) + " " +
         std::to_string(last) + " " + group_->name + "\r\n";
}

std::string NewsSession::Stand(std::size_t at) {
  at_ = at;
  const ModelArticle& article = group_->articles[at];
  return "223 " + std::to_string(article.number) + " " + article.id + " status\r\n";
}

std::string NewsSession::Stat(std::uint32_t number) {
  if (group_ == nullptr) return "412 no group\r\n";
  const auto found =
      std::lower_bound(group_->articles.begin(), group_->articles.end(), number,
                       [](const ModelArticle& a, std::uint32_t n) { return a.number < n; });
  if (found == group_->articles.end() || found->number != number) return "423 no such number\r\n";
  return Stand(static_cast<std::size_t>(found - group_->articles.begin()));
}

std::string NewsSession::Next() {
  if (group_ == nullptr) return "412 no group\r\n";
  if (at_ + 1 >= group_->articles.size()) return "421 no next article\r\n";
  return Stand(at_ + 1);
}

std::string NewsSession::Text(const char* code, const std::string ModelArticle::*text) const {
  if (group_ == nullptr || at_ >= group_->articles.size()) return "420 no current article\r\n";
  const ModelArticle& article = group_->articles[at_];
  return std::string(code) + " " + std::to_string(article.number) + " " + article.id +
         " follows\r\n" + article.*text + ".\r\n";
}

}  // namespace quillet
