// SPDX-License-Identifier: GPL-3.0-or-later
// Articles made up for tests and figures: small wild forests, and large ones as groups are.
#pragma once

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "tests/thread/tree_reference.h"
#include "util/format.h"

namespace quillet::testing {

class Forests {
 public:
  explicit Forests(std::uint32_t seed) : random_(seed) {}

  // Newest first. Parents read earlier, later, never or being the article itself; circles; empty
  // and repeated Message-IDs; few sources, subjects and numbers, so that many are equal.
  std::vector<TestArticle> Small() {
    const std::size_t count = Below(41);
    std::vector<TestArticle> articles;
    for (std::size_t i = 0; i < count; ++i) {
      articles.push_back({Id(Below(30) == 0 ? Below(count) : i), Parent(count, i), Subject(),
                          Source(), FormatNarrow("Writer %lu", Below(5)), Number(), Below(2) == 0,
                          static_cast<std::uint32_t>(count - i)});
      if (Below(40) == 0) articles.back().id.clear();
    }
    return articles;
  }

  // The same, most with References: folded or not, of few or very many ids, of some that are there
  // and some that are not, with words that are no ids.
  std::vector<TestArticle> SmallWithReferences() {
    std::vector<TestArticle> articles = Small();
    for (std::size_t i = 0; i < articles.size(); ++i) {
      if (Below(5) == 0) continue;
      std::string& references = articles[i].references;
      const std::size_t ids = Below(60) == 0 ? 1000 : Below(7);
      for (std::size_t n = 0; n < ids; ++n) references += Separator() + Referenced(articles, i);
      if (Below(3) != 0) articles[i].parent = LastWordOfFirstLine(references);
      if (Below(2) == 0) references += "\r\n";
    }
    return articles;
  }

  std::size_t Below(std::size_t limit) { return limit == 0 ? 0 : random_() % limit; }

 private:
  static std::string Id(std::size_t number) { return FormatNarrow("<%lu@x>", number); }

  std::string Parent(std::size_t count, std::size_t self) {
    switch (Below(8)) {
      case 0:
        return "";
      case 1:
        return Id(1000 + Below(3));
      case 2:
        return Below(4) == 0 ? Id(self) : Id(Below(count));
      default:
        return Id(Below(count));
    }
  }
  std::string Separator() {
    static const char* const kSeparators[] = {" ",      " ",   " ", "  ", "\r\n ",
                                              "\r\n\t", "\n ", "",  ","};
    return kSeparators[Below(std::size(kSeparators))];
  }
  std::string Referenced(const std::vector<TestArticle>& articles, std::size_t self) {
    static const char* const kOdd[] = {"(a comment)", "<cut@x", "cut@x>", "<1 @x>", "<",    ">",
                                       "<>",          "word",   "<2@x>>", "<<3@x>", "\xE4@"};
    switch (Below(10)) {
      case 0:
        return kOdd[Below(std::size(kOdd))];
      case 1:
        return articles[self].id;
      case 2:
      case 3:
        return articles[Below(articles.size())].id;
      default:
        return Id(1000 + Below(100));
    }
  }
  static std::string LastWordOfFirstLine(const std::string& references) {
    const std::string line = references.substr(0, references.find_first_of("\r\n"));
    return line.substr(line.rfind(' ') + 1);
  }
  std::string Subject() {
    static const char* const kSubjects[] = {"Hello", "hello",      "Re: Hello", "RE: re:  Hello",
                                            "  re:", "",           "re: re:",   "Re : Hello",
                                            "Other", "re:\tHello", "re:Other",  " Hello"};
    return kSubjects[Below(std::size(kSubjects))];
  }
  std::string Source() {
    static const char* const kSources[] = {"a.example", "b.example", "<import>",
                                           "B.example", "",          "\xE4.example"};
    return kSources[Below(std::size(kSources))];
  }
  std::int32_t Number() {
    static const std::uint32_t kNumbers[] = {0, 0, 1, 2, 3, 0x7FFFFFFF, 0x80000001, 0xFFFFFFFF, 10};
    return static_cast<std::int32_t>(kNumbers[Below(std::size(kNumbers))]);
  }

  std::mt19937 random_;  // NOLINT: the same on every run is the point
};

// A group as they are, newest first: threads of three articles in the middle, a longest one of a
// few per cent of all, 4 % missing parents, 6 % of the threads with another one's subject.
class Group {
 public:
  explicit Group(std::uint32_t seed) : random_(seed) {}

  std::vector<TestArticle> Make(std::size_t count) {
    std::vector<TestArticle> oldest_first;
    while (oldest_first.size() < count) {
      oldest_first.push_back(One(oldest_first.size(), PickThread()));
    }
    return {oldest_first.rbegin(), oldest_first.rend()};
  }

  static std::string Id(std::size_t number) {
    return FormatNarrow("<v%lu$8k2$%lu@reader-%lu.news.example.org>",
                        number * 2654435761U % 999983U, number, number % 37);
  }

 private:
  struct Thread {
    std::size_t subject;
    std::vector<std::size_t> articles;
    std::size_t wanted;
  };

  std::size_t Below(std::size_t limit) { return random_() % limit; }

  std::size_t Wanted() {
    if (threads_.size() == 5) return 1800;
    const std::size_t dice = Below(100);
    if (dice < 30) return 1;
    if (dice < 70) return 2 + Below(3);
    return dice < 99 ? 5 + Below(15) : 20 + Below(200);
  }

  std::size_t PickThread() {
    if (open_.size() < 200) {
      const std::size_t number = threads_.size();
      const bool shared = number > 0 && Below(100) < 6;
      threads_.push_back({shared ? Below(number) : number, {}, Wanted()});
      open_.push_back(number);
    }
    // A long thread gets its articles sooner, as they are talked about.
    return open_[Below(16) == 0 ? 0 : Below(open_.size())];
  }

  TestArticle One(std::size_t number, std::size_t in) {
    Thread& thread = threads_[in];
    const bool reply = !thread.articles.empty();
    TestArticle article;
    article.id = Id(number);
    if (reply) {
      const std::size_t back = Below(std::min<std::size_t>(thread.articles.size(), 6));
      const std::size_t parent = thread.articles[thread.articles.size() - 1 - back];
      article.parent = Below(25) == 0 ? FormatNarrow("<gone%lu@x.example>", number) : Id(parent);
    }
    article.subject = FormatNarrow("%sThe subject of discussion number %lu", reply ? "Re: " : "",
                                   threads_[in].subject);
    article.source = Below(100) < 97 ? "news.example.org" : "news2.example.net";
    article.from =
        FormatNarrow("A. Writer %lu <writer%lu@example.org>", number % 911, number % 911);
    article.number = static_cast<std::int32_t>(number + 1);
    article.read = Below(3) == 0;
    article.chain = static_cast<std::uint32_t>(number + 1);
    thread.articles.push_back(number);
    if (thread.articles.size() >= thread.wanted) {
      open_.erase(std::find(open_.begin(), open_.end(), in));
    }
    return article;
  }

  std::mt19937 random_;  // NOLINT
  std::vector<Thread> threads_;
  std::vector<std::size_t> open_;  // threads that will have more articles
};

}  // namespace quillet::testing
