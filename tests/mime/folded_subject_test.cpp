// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/folded_subject.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "mime/shown_text.h"
#include "tests/mime/without_decoding.h"

namespace quillet {
namespace {

const std::string kLongStart =
    "Announcing the second public release of the harbour tide tables for the";

TEST(JoinedSubject, IsTheSubjectWhereNothingGoesOn) {
  EXPECT_EQ(JoinedSubject("Hello", "Path: a!b\nNewsgroups: x"), "Hello");
  EXPECT_EQ(JoinedSubject("", ""), "");
  EXPECT_EQ(JoinedSubject("Hello", "References: <a@b>\n <c@d>\nX-Long: a\n  b"), "Hello");
}

TEST(JoinedSubject, TakesLinesThatTheFieldAboveCannotHave) {
  EXPECT_EQ(JoinedSubject(kLongStart, "Newsgroups: alt.tides\r\n northern coast\r\nLines: 3"),
            kLongStart + " northern coast");
  EXPECT_EQ(JoinedSubject(kLongStart, " northern\n\tcoast\nPath: a"),
            kLongStart + " northern coast");
  EXPECT_EQ(JoinedSubject(kLongStart, "References: <a@b>\n <c@d>\n northern coast"),
            kLongStart + " northern coast");
  EXPECT_EQ(JoinedSubject(kLongStart, "Content-Type: text/plain;\n charset=utf-8\n northern coast"),
            kLongStart + " northern coast");
}

TEST(JoinedSubject, TakesWordsThatGoOnWithOne) {
  EXPECT_EQ(JoinedSubject("=?utf-8?Q?a?=", "Newsgroups: x\n =?utf-8?Q?b?=\n =?utf-8?Q?c?="),
            "=?utf-8?Q?a?= =?utf-8?Q?b?= =?utf-8?Q?c?=");
  EXPECT_EQ(ShownHeader(JoinedSubject("=?utf-8?Q?=C3?=", " =?utf-8?Q?=BC?=")), u"ü");
}

TEST(JoinedSubject, ALineOfBlanksSaysNothing) {
  EXPECT_EQ(JoinedSubject("=?utf-8?Q?a?=", " =?utf-8?Q?b?=\r\n \t\r\n =?utf-8?Q?c?=\r\n "),
            "=?utf-8?Q?a?= =?utf-8?Q?b?= =?utf-8?Q?c?=");
  EXPECT_EQ(JoinedSubject("", " \r\n"), "");
}

TEST(JoinedSubject, LeavesAlongFieldItsOwnLines) {
  const std::string organization = "Organization: " + kLongStart;
  EXPECT_EQ(JoinedSubject(kLongStart, organization + "\n northern coast"), kLongStart);
  EXPECT_EQ(JoinedSubject("=?utf-8?Q?a?=", "X-Y: =?utf-8?Q?p?=\n =?utf-8?Q?q?="), "=?utf-8?Q?a?=");
}

TEST(JoinedSubject, LeavesAuthorsIdsAndDatesTheirs) {
  for (const std::string line : {" <ann@example.org>", " =?utf-8?Q?Lee?= <ann@example.org>",
                                 " <123@example.org>", " Sun, 22 Nov 2026 10:20:30 +0000"}) {
    EXPECT_EQ(JoinedSubject(kLongStart, "Path: a!b\n" + line + "\nLines: 3"), kLongStart) << line;
  }
  EXPECT_EQ(JoinedSubject("=?utf-8?Q?a?=", "Path: a\n =?utf-8?Q?Ann?=\n <ann@b>\n =?utf-8?Q?b?="),
            "=?utf-8?Q?a?= =?utf-8?Q?b?=");
}

TEST(JoinedSubject, AShortSubjectGoesOnWhereNothingElseCan) {
  EXPECT_EQ(JoinedSubject("Hello", "Path: a!b\n world"), "Hello world");
  EXPECT_EQ(JoinedSubject("Hello", "\tworld\n and all\nPath: a!b"), "Hello world and all");
  EXPECT_EQ(JoinedSubject("Hello", "Newsgroups: a.b\r\n =?utf-8?Q?w=C3=B6rld?=\r\nLines: 3"),
            "Hello =?utf-8?Q?w=C3=B6rld?=");
  for (const std::string kept :
       {"X-Check: yes\n world", "Path: a!b\n (Ann Lee)", "Path: a!b\n <a@b>",
        "Content-Type: text/plain;\n\tcharset = utf-8 (eight bits)", "Path: a!b\n  \n\t"}) {
    EXPECT_EQ(JoinedSubject("Hello", kept), "Hello") << kept;
  }
}

TEST(JoinedSubject, IsTheStoredLineWhileDecodingIsOff) {
  const testing::WithoutDecoding off;
  EXPECT_EQ(JoinedSubject("=?utf-8?Q?a?=", " =?utf-8?Q?b?="), "=?utf-8?Q?a?=");
}

// --- Against heads that a composer of our own has written and folded -----------------------------

class Composer {
 public:
  struct Head {
    std::string subject, first_line, kept;
    bool folded = false;
  };

  Head Compose() {
    width_ = 72 + Below(7);
    Head head;
    head.subject = Subject();
    std::vector<std::string> fields = OtherFields();
    fields.push_back("Subject: " + head.subject);
    std::shuffle(fields.begin(), fields.end(), random_);
    for (const std::string& field : fields) Keep(field, head);
    return head;
  }

 private:
  std::size_t Below(std::size_t limit) { return random_() % limit; }

  std::string Words(std::size_t count) {
    static constexpr std::array<std::string_view, 12> kWords = {
        "tide", "harbour", "the", "a",           "Re:",    "sailing,",
        "new",  "(was:",   "of",  "measurement", "coast)", "2026"};
    std::string text;
    for (; count > 0; --count) text.append(text.empty() ? "" : " ").append(kWords[Below(12)]);
    return text;
  }

  // Encoded words of 40 to 70 bytes.
  std::string Encoded(std::size_t count) {
    std::string text;
    for (; count > 0; --count) {
      text.append(text.empty() ? "" : " ").append("=?UTF-8?Q?");
      for (auto left = 5 + Below(5); left > 0; --left) text += "=C3=BC";
      text += "?=";
    }
    return text;
  }

  std::string Subject() {
    switch (Below(4)) {
      case 0:
        return Words(1 + Below(6));
      case 1:
        return Encoded(1 + Below(3));
      case 2:
        return "Re: " + Encoded(1 + Below(3));
      default:
        return Words(8 + Below(14));
    }
  }

  std::string Id() {
    return "<" + std::string(8 + Below(40), 'x') + std::to_string(Below(1000)) + "@example.org>";
  }

  std::string From() {
    return (Below(2) == 0 ? Encoded(1 + Below(2)) : Words(1 + Below(3))) + " <ann.lee@example.org>";
  }

  std::vector<std::string> OtherFields() {
    std::vector<std::string> fields = {"Path: news.example.org!feed.example.net!not-for-mail",
                                       "From: " + From(),
                                       "Newsgroups: alt.tides,rec.boats",
                                       "Date: Sun, 22 Nov 2026 10:20:30 +0000",
                                       "Message-ID: " + Id(),
                                       "MIME-Version: 1.0",
                                       "Content-Type: text/plain; charset=UTF-8; format=flowed",
                                       "Content-Transfer-Encoding: 8bit",
                                       "Lines: 12"};
    if (Below(2) == 0) fields.push_back("References: " + Id() + " " + Id() + " " + Id());
    if (Below(2) == 0) fields.push_back("Organization: " + Words(2 + Below(12)));
    if (Below(3) == 0)
      fields.push_back("User-Agent: Mozilla/5.0 (X11; Linux x86_64; rv:115.0) Gecko");
    if (Below(3) == 0) fields.push_back("Reply-To: " + From());
    if (Below(3) == 0) {
      fields.push_back(
          "Injection-Info: news.example.org; posting-host=\"2001:db8::17\"; "
          "logging-data=\"4711\"; mail-complaints-to=\"abuse@example.org\"");
    }
    return fields;
  }

  // As a program folds: at the last blank at which the line still fits.
  std::vector<std::string> Fold(std::string field) const {
    std::vector<std::string> lines;
    while (field.size() > width_) {
      std::size_t blank = field.rfind(' ', width_);
      if (blank == std::string::npos || blank == 0 || field[blank - 1] == ':') {
        blank =
            field.find(' ', std::max<std::size_t>(blank == std::string::npos ? 0 : blank + 1, 1));
      }
      if (blank == std::string::npos) break;
      lines.push_back(field.substr(0, blank));
      field.erase(0, blank);
    }
    lines.push_back(field);
    return lines;
  }

  // As a head is stored: without the lines that begin with a field of their own.
  void Keep(const std::string& field, Head& head) const {
    const std::vector<std::string> lines = Fold(field);
    const bool is_subject = field.starts_with("Subject:");
    if (is_subject) {
      head.first_line = lines.front().substr(9);
      head.folded = lines.size() > 1;
    }
    const bool own = is_subject || field.starts_with("From:") || field.starts_with("Date:") ||
                     field.starts_with("Message-ID:") || field.starts_with("Reply-To:");
    for (std::size_t i = own ? 1 : 0; i < lines.size(); ++i) head.kept += lines[i] + "\r\n";
  }

  std::mt19937 random_{4711};
  std::size_t width_ = 78;
};

TEST(JoinedSubject, FindsWhatAComposerHasFolded) {
  Composer composer;
  int folded = 0, joined = 0, whole = 0, left_alone = 0;
  for (int round = 0; round < 20000; ++round) {
    const Composer::Head head = composer.Compose();
    const bool right = JoinedSubject(head.first_line, head.kept) == head.subject;
    (head.folded ? folded : whole) += 1;
    (head.folded ? joined : left_alone) += right ? 1 : 0;
  }
  std::printf("joined %d of %d folded subjects, left %d of %d others alone\n", joined, folded,
              left_alone, whole);
  EXPECT_GT(folded, 5000);
  EXPECT_GT(joined * 100, folded * 90);
  EXPECT_GT(left_alone * 1000, whole * 999);
}

}  // namespace
}  // namespace quillet
