// SPDX-License-Identifier: GPL-3.0-or-later
// One client's conversation with the news server (the reader's part of RFC 3977, AUTHINFO
// USER/PASS of RFC 4643, STARTTLS of RFC 4642): bytes of the client in, bytes for the client out.
// Knows no sockets.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "demo/news_store.h"

namespace quillet::demo {

class TlsAuthority;

struct ServerSettings {
  std::string user;  // empty: no login asked for
  std::string password;
  bool posting_allowed = true;
  const TlsAuthority* authority = nullptr;  // null: no TLS
  // Seconds since 1970, for DATE and for posts without a date.
  std::function<std::int64_t()> now;
};

class NntpSession {
 public:
  // Both must outlive the session. `encrypted`: from the start.
  NntpSession(NewsStore& store, const ServerSettings& settings, bool encrypted = false);

  std::string Greeting() const;
  // Takes what the client sent, in any portions, and returns what is to be sent to it.
  std::string Receive(std::string_view bytes);
  // The client said QUIT; nothing more is taken from it.
  bool finished() const { return finished_; }
  // True once, after the reply that lets TLS begin: what comes next is encrypted. What came in the
  // same portion behind the command was thrown away, since anybody may have put it there.
  bool TakeTlsStart() { return std::exchange(tls_starts_, false); }

 private:
  using Words = std::vector<std::string>;
  struct Command;

  static const std::vector<Command>& Commands();
  std::string TakeLine(std::string_view line);
  std::string Run(std::string_view line);
  std::string TakePostLine(std::string_view line);
  std::string FinishPost();

  std::string Capabilities(const Words& words);
  std::string ModeReader(const Words& words);
  std::string SelectGroup(const Words& words);
  std::string ListGroup(const Words& words);
  std::string List(const Words& words);
  std::string NewGroups(const Words& words);
  std::string Next(const Words& words);
  std::string Last(const Words& words);
  std::string Fetch(const Words& words);
  std::string Post(const Words& words);
  std::string Date(const Words& words);
  std::string Help(const Words& words);
  std::string AuthInfo(const Words& words);
  std::string Quit(const Words& words);
  std::string StartTls(const Words& words);

  std::string Step(int direction);
  std::string FetchById(const std::string& verb, const std::string& message_id) const;
  std::string FetchByNumber(const std::string& verb, const std::string& text);
  // Not after a login: what is said in one state is not carried into the other.
  bool CanStartTls() const { return settings_.authority != nullptr && !encrypted_ && !logged_in_; }
  bool LoginNeeded() const { return !settings_.user.empty() && !logged_in_; }

  NewsStore& store_;
  const ServerSettings& settings_;
  std::string pending_;         // the beginning of a line
  bool skipping_line_ = false;  // the rest of a line that was too long is thrown away
  bool finished_ = false;
  bool encrypted_;
  bool tls_starts_ = false;
  const Group* group_ = nullptr;
  std::uint32_t current_ = 0;  // 0: no current article
  std::string login_user_;
  bool logged_in_ = false;
  std::optional<Words> post_;  // the lines of the article being posted
  std::size_t post_size_ = 0;
  bool post_too_large_ = false;
};

}  // namespace quillet::demo
