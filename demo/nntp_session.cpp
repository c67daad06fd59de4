// SPDX-License-Identifier: GPL-3.0-or-later
// Bytes are cut into lines, and a line is a command or, after POST, a line of the article. Commands
// are rows of one table: how many words they take, whether they need the login, and the member that
// answers. What a client can make the server hold or compute is limited: the length of a line, the
// size of a post, the stars of a pattern.
#include "demo/nntp_session.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "demo/article_text.h"
#include "demo/date_text.h"
#include "util/text.h"

namespace quillet::demo {
namespace {

// RFC 3977: a command line has at most 512 bytes with its end. Lines of posts may be longer.
constexpr std::size_t kLongestCommand = 510;
constexpr std::size_t kLongestPostLine = 8192;
constexpr std::size_t kLargestPost = std::size_t{1} << 20U;

constexpr std::string_view kSyntaxError = "501 Syntax error\r\n";
constexpr std::string_view kNoGroup = "412 No newsgroup selected\r\n";
constexpr std::string_view kNoCurrent = "420 No current article\r\n";
constexpr std::string_view kNoNumber = "423 No article with that number\r\n";

std::vector<std::string> SplitWords(std::string_view line) {
  std::vector<std::string> words;
  while (true) {
    const std::size_t start = line.find_first_not_of(" \t");
    if (start == std::string_view::npos) return words;
    line.remove_prefix(start);
    const std::size_t end = std::min(line.find_first_of(" \t"), line.size());
    words.emplace_back(line.substr(0, end));
    line.remove_prefix(end);
  }
}

std::string Upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
  return text;
}

std::optional<std::uint32_t> ParseNumber(std::string_view text) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

struct NumberRange {
  std::uint32_t low = 0;
  std::uint32_t high = UINT32_MAX;
};

// "n", "n-" or "n-m".
std::optional<NumberRange> ParseRange(std::string_view text) {
  const std::size_t dash = text.find('-');
  const std::optional<std::uint32_t> low = ParseNumber(text.substr(0, dash));
  if (!low) return std::nullopt;
  if (dash == std::string_view::npos) return NumberRange{*low, *low};
  if (dash + 1 == text.size()) return NumberRange{*low, UINT32_MAX};
  const std::optional<std::uint32_t> high = ParseNumber(text.substr(dash + 1));
  if (!high) return std::nullopt;
  return NumberRange{*low, *high};
}

// "*" stands for any text; every other character for itself.
bool MatchesPattern(std::string_view text, std::string_view pattern) {
  const std::size_t star = pattern.find('*');
  if (star == std::string_view::npos) return text == pattern;
  if (!text.starts_with(pattern.substr(0, star))) return false;
  text.remove_prefix(star);
  pattern.remove_prefix(star + 1);
  for (;; text.remove_prefix(1)) {
    if (MatchesPattern(text, pattern)) return true;
    if (text.empty()) return false;
  }
}

std::string GroupLine(std::string_view code, const std::string& name, const Group& group,
                      std::string_view tail) {
  return std::string(code) + " " + std::to_string(group.articles.size()) + " " +
         std::to_string(group.low()) + " " + std::to_string(group.high()) + " " + name +
         std::string(tail) + "\r\n";
}

std::string ActiveLine(const std::string& name, const Group& group, bool posting) {
  return name + " " + std::to_string(group.high()) + " " + std::to_string(group.low()) +
         (posting ? " y\r\n" : " n\r\n");
}

std::string ArticleReply(std::string_view verb, std::uint32_t number,
                         const StoredArticle& article) {
  const std::string rest = " " + std::to_string(number) + " " + article.message_id + "\r\n";
  if (verb == "HEAD") return "221" + rest + article.head + ".\r\n";
  if (verb == "BODY") return "222" + rest + article.body + ".\r\n";
  if (verb == "STAT") return "223" + rest;
  return "220" + rest + article.head + "\r\n" + article.body + ".\r\n";
}

}  // namespace

struct NntpSession::Command {
  std::string_view verb;
  std::size_t least_arguments;
  std::size_t most_arguments;
  bool without_login;
  std::string (NntpSession::*handler)(const Words&);
};

const std::vector<NntpSession::Command>& NntpSession::Commands() {
  static const std::vector<Command> commands = {
      {"ARTICLE", 0, 1, false, &NntpSession::Fetch},
      {"AUTHINFO", 2, 2, true, &NntpSession::AuthInfo},
      {"BODY", 0, 1, false, &NntpSession::Fetch},
      {"CAPABILITIES", 0, 1, true, &NntpSession::Capabilities},
      {"DATE", 0, 0, false, &NntpSession::Date},
      {"GROUP", 1, 1, false, &NntpSession::SelectGroup},
      {"HEAD", 0, 1, false, &NntpSession::Fetch},
      {"HELP", 0, 0, true, &NntpSession::Help},
      {"LAST", 0, 0, false, &NntpSession::Last},
      {"LIST", 0, 2, false, &NntpSession::List},
      {"LISTGROUP", 0, 2, false, &NntpSession::ListGroup},
      {"MODE", 1, 1, true, &NntpSession::ModeReader},
      {"NEWGROUPS", 2, 3, false, &NntpSession::NewGroups},
      {"NEXT", 0, 0, false, &NntpSession::Next},
      {"POST", 0, 0, false, &NntpSession::Post},
      {"QUIT", 0, 0, true, &NntpSession::Quit},
      {"STARTTLS", 0, 0, true, &NntpSession::StartTls},
      {"STAT", 0, 1, false, &NntpSession::Fetch},
  };
  return commands;
}

NntpSession::NntpSession(NewsStore& store, const ServerSettings& settings, bool encrypted)
    : store_(store), settings_(settings), encrypted_(encrypted) {}

std::string NntpSession::Greeting() const {
  return settings_.posting_allowed ? "200 Demo news server ready, posting allowed\r\n"
                                   : "201 Demo news server ready, posting prohibited\r\n";
}

std::string NntpSession::Receive(std::string_view bytes) {
  std::string replies;
  while (!bytes.empty() && !finished_ && !tls_starts_) {
    const std::size_t end = bytes.find('\n');
    const std::size_t limit = post_ ? kLongestPostLine : kLongestCommand;
    const std::string_view part = bytes.substr(0, std::min(end, bytes.size()));
    if (pending_.size() + part.size() > limit + 1) {
      skipping_line_ = true;
      pending_.clear();
    } else if (!skipping_line_) {
      pending_ += part;
    }
    if (end == std::string_view::npos) return replies;
    bytes.remove_prefix(end + 1);
    if (pending_.ends_with('\r')) pending_.pop_back();
    const std::string line = std::exchange(pending_, {});
    const bool too_long = std::exchange(skipping_line_, false);
    if (!too_long) {
      replies += TakeLine(line);
    } else if (post_) {
      post_too_large_ = true;
    } else {
      replies += "501 Line too long\r\n";
    }
  }
  return replies;
}

std::string NntpSession::TakeLine(std::string_view line) {
  return post_ ? TakePostLine(line) : Run(line);
}

std::string NntpSession::Run(std::string_view line) {
  Words words = SplitWords(line);
  if (words.empty()) return "500 What?\r\n";
  words[0] = Upper(words[0]);
  const auto& commands = Commands();
  const auto command = std::find_if(commands.begin(), commands.end(),
                                    [&](const Command& c) { return c.verb == words[0]; });
  if (command == commands.end()) return "500 Unknown command\r\n";
  const std::size_t arguments = words.size() - 1;
  if (arguments < command->least_arguments || arguments > command->most_arguments) {
    return std::string(kSyntaxError);
  }
  if (LoginNeeded() && !command->without_login) return "480 Authentication required\r\n";
  return (this->*command->handler)(words);
}

std::string NntpSession::Capabilities(const Words&) {
  std::string reply = "101 Capability list:\r\nVERSION 2\r\n";
  reply += "IMPLEMENTATION Quillet demo news server\r\nREADER\r\n";
  if (settings_.posting_allowed) reply += "POST\r\n";
  reply += "LIST ACTIVE NEWSGROUPS\r\n";
  if (LoginNeeded()) reply += "AUTHINFO USER\r\n";
  if (CanStartTls()) reply += "STARTTLS\r\n";
  return reply + ".\r\n";
}

std::string NntpSession::ModeReader(const Words& words) {
  if (Upper(words[1]) != "READER") return std::string(kSyntaxError);
  return settings_.posting_allowed ? "200 Posting allowed\r\n" : "201 Posting prohibited\r\n";
}

std::string NntpSession::SelectGroup(const Words& words) {
  const Group* group = store_.FindGroup(words[1]);
  if (!group) return "411 No such newsgroup\r\n";
  group_ = group;
  current_ = group->articles.empty() ? 0 : group->low();
  return GroupLine("211", words[1], *group, "");
}

std::string NntpSession::ListGroup(const Words& words) {
  const std::optional<NumberRange> range = words.size() > 2 ? ParseRange(words[2]) : NumberRange{};
  if (!range) return std::string(kSyntaxError);
  const Group* group = words.size() > 1 ? store_.FindGroup(words[1]) : group_;
  if (!group) return words.size() > 1 ? "411 No such newsgroup\r\n" : std::string(kNoGroup);
  group_ = group;
  current_ = group->articles.empty() ? 0 : group->low();
  const auto named = std::find_if(store_.groups().begin(), store_.groups().end(),
                                  [&](const auto& entry) { return &entry.second == group; });
  std::string reply = GroupLine("211", named->first, *group, " list follows");
  for (std::size_t i = 0; i < group->articles.size(); ++i) {
    const std::uint32_t number = group->low() + static_cast<std::uint32_t>(i);
    if (number >= range->low && number <= range->high) reply += std::to_string(number) + "\r\n";
  }
  return reply + ".\r\n";
}

std::string NntpSession::List(const Words& words) {
  const std::string what = words.size() > 1 ? Upper(words[1]) : "ACTIVE";
  const std::string pattern = words.size() > 2 ? words[2] : "*";
  if (what != "ACTIVE" && what != "NEWSGROUPS") return std::string(kSyntaxError);
  // Each star may double the work of matching, so a pattern may hold only a few.
  if (std::count(pattern.begin(), pattern.end(), '*') > 4) return std::string(kSyntaxError);
  std::string reply = "215 List follows\r\n";
  for (const auto& [name, group] : store_.groups()) {
    if (!MatchesPattern(name, pattern)) continue;
    reply += what == "ACTIVE" ? ActiveLine(name, group, settings_.posting_allowed)
                              : name + "\t" + group.description + "\r\n";
  }
  return reply + ".\r\n";
}

// The groups are as old as the server: there are never new ones.
std::string NntpSession::NewGroups(const Words& words) {
  const bool date = ParseNumber(words[1]) && (words[1].size() == 6 || words[1].size() == 8);
  const bool time = ParseNumber(words[2]) && words[2].size() == 6;
  if (!date || !time) return std::string(kSyntaxError);
  return "231 List of new newsgroups follows\r\n.\r\n";
}

std::string NntpSession::Next(const Words&) {
  return Step(1);
}

std::string NntpSession::Last(const Words&) {
  return Step(-1);
}

std::string NntpSession::Step(int direction) {
  if (!group_) return std::string(kNoGroup);
  if (current_ == 0) return std::string(kNoCurrent);
  const std::uint32_t wanted = direction > 0 ? current_ + 1 : current_ - 1;
  const StoredArticle* article = group_->Find(wanted);
  if (!article) {
    return direction > 0 ? "421 No next article\r\n" : "422 No previous article\r\n";
  }
  current_ = wanted;
  return ArticleReply("STAT", current_, *article);
}

std::string NntpSession::Fetch(const Words& words) {
  if (words.size() > 1 && words[1].starts_with('<')) return FetchById(words[0], words[1]);
  if (words.size() > 1) return FetchByNumber(words[0], words[1]);
  if (!group_) return std::string(kNoGroup);
  if (current_ == 0) return std::string(kNoCurrent);
  return ArticleReply(words[0], current_, *group_->Find(current_));
}

std::string NntpSession::FetchById(const std::string& verb, const std::string& message_id) const {
  const StoredArticle* article = store_.FindById(message_id);
  return article ? ArticleReply(verb, 0, *article) : "430 No article with that Message-ID\r\n";
}

std::string NntpSession::FetchByNumber(const std::string& verb, const std::string& text) {
  const bool digits =
      std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
  if (!digits) return std::string(kSyntaxError);
  if (!group_) return std::string(kNoGroup);
  const std::optional<std::uint32_t> number = ParseNumber(text);
  const StoredArticle* article = number ? group_->Find(*number) : nullptr;
  if (!article) return std::string(kNoNumber);
  current_ = *number;
  return ArticleReply(verb, current_, *article);
}

std::string NntpSession::Date(const Words&) {
  return "111 " + CompactDate(settings_.now()) + "\r\n";
}

std::string NntpSession::Help(const Words&) {
  std::string reply = "100 Commands:\r\n";
  for (const Command& command : Commands()) reply += std::string(command.verb) + "\r\n";
  return reply + ".\r\n";
}

std::string NntpSession::AuthInfo(const Words& words) {
  const std::string kind = Upper(words[1]);
  if (settings_.user.empty() || logged_in_) return "502 Authentication not possible\r\n";
  if (kind == "USER") {
    login_user_ = words[2];
    return "381 Password required\r\n";
  }
  if (kind != "PASS") return std::string(kSyntaxError);
  if (login_user_.empty()) return "482 User name first\r\n";
  logged_in_ = login_user_ == settings_.user && words[2] == settings_.password;
  login_user_.clear();
  return logged_in_ ? "281 Authentication accepted\r\n" : "481 Authentication failed\r\n";
}

std::string NntpSession::Quit(const Words&) {
  finished_ = true;
  return "205 Goodbye\r\n";
}

std::string NntpSession::StartTls(const Words&) {
  if (!CanStartTls()) return "502 STARTTLS not possible\r\n";
  encrypted_ = tls_starts_ = true;
  group_ = nullptr;
  current_ = 0;
  login_user_.clear();
  return "382 Continue with TLS negotiation\r\n";
}

std::string NntpSession::Post(const Words&) {
  if (!settings_.posting_allowed) return "440 Posting not permitted\r\n";
  post_.emplace();
  post_size_ = 0;
  post_too_large_ = false;
  return "340 Send the article, end with a dot on a line of its own\r\n";
}

std::string NntpSession::TakePostLine(std::string_view line) {
  if (line == ".") return FinishPost();
  if (line.starts_with('.')) line.remove_prefix(1);
  post_size_ += line.size() + 2;
  if (post_size_ > kLargestPost) {
    post_too_large_ = true;
    post_->clear();
  } else {
    post_->emplace_back(line);
  }
  return {};
}

// Adds what a posting client may leave to the server, and files the article.
std::string NntpSession::FinishPost() {
  Words lines = std::exchange(post_, std::nullopt).value_or(Words());
  if (post_too_large_) return "441 Posting failed: too large\r\n";
  const Words head(lines.begin(), std::find(lines.begin(), lines.end(), std::string()));
  const std::int64_t now = settings_.now();
  Words added;
  if (!HeaderValue(head, "Path")) added.emplace_back("Path: demo.example.net!not-for-mail");
  if (!HeaderValue(head, "Message-ID")) {
    added.push_back("Message-ID: <post." + CompactDate(now) + "." + std::to_string(store_.size()) +
                    "@demo.example.net>");
  }
  if (!HeaderValue(head, "Date")) added.push_back("Date: " + MailDate(now));
  lines.insert(lines.begin(), added.begin(), added.end());
  std::string problem;
  std::optional<ParsedArticle> parsed = ParseArticleLines(lines, problem);
  if (!parsed) return "441 Posting failed: " + problem + "\r\n";
  switch (store_.Add(std::move(parsed->article), parsed->groups)) {
    case AddResult::kAdded:
      return "240 Article received\r\n";
    case AddResult::kDuplicate:
      return "441 Posting failed: duplicate Message-ID\r\n";
    case AddResult::kNoSuchGroup:
      break;
  }
  return "441 Posting failed: no such newsgroup\r\n";
}

}  // namespace quillet::demo
