// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/row_words.h"

#include <gtest/gtest.h>

namespace quillet::qt {
namespace {

QString Words(const QString& text, bool unread, int below, int level) {
  return ThreadRowInWords({text, unread, below, level});
}

TEST(RowWords, CountsAreSaidInWords) {
  EXPECT_EQ(CountsInWords(u"3/9"), QStringLiteral("3 unread of 9 articles"));
  EXPECT_EQ(CountsInWords(u"0/1"), QStringLiteral("0 unread of 1 article"));
}

TEST(RowWords, WhatIsNoCountStays) {
  for (const QString& text :
       {QString(), QStringLiteral("a/b"), QStringLiteral("3/"), QStringLiteral("/9"),
        QStringLiteral("1/2/3"), QStringLiteral("3/9 more"), QStringLiteral("12")}) {
    EXPECT_EQ(CountsInWords(text), text);
  }
}

TEST(RowWords, AThreadSaysItsCountsBehindItsSubject) {
  EXPECT_EQ(Words(QStringLiteral("2/4 Hello, you"), true, 4, 1),
            QStringLiteral("Hello, you, 2 unread of 4 articles, level 1"));
  EXPECT_EQ(Words(QStringLiteral("Hello"), true, 1, 1),
            QStringLiteral("Hello, unread, 1 article, level 1"));
  EXPECT_EQ(Words(QStringLiteral("Hello"), false, 1, 1),
            QStringLiteral("Hello, 1 article, level 1"));
}

TEST(RowWords, AnArticleSaysItsAnswersAndItsLevel) {
  EXPECT_EQ(Words(QStringLiteral("Ann"), true, 2, 2),
            QStringLiteral("Ann, unread, 2 answers, level 2"));
  EXPECT_EQ(Words(QStringLiteral("Ann"), false, 1, 3), QStringLiteral("Ann, 1 answer, level 3"));
  EXPECT_EQ(Words(QStringLiteral("Ann"), false, 0, 4), QStringLiteral("Ann, no answers, level 4"));
}

TEST(RowWords, AnAuthorThatBeginsLikeCountsIsNoThread) {
  EXPECT_EQ(Words(QStringLiteral("1/2 Ann"), false, 0, 2),
            QStringLiteral("1/2 Ann, no answers, level 2"));
}

TEST(RowWords, PositionsAreSaidInWords) {
  EXPECT_EQ(PositionInWords(QStringLiteral("Thread 3/12")), QStringLiteral("Thread 3 of 12"));
  EXPECT_EQ(PositionInWords(QStringLiteral("Article 0/4")), QStringLiteral("Article 0 of 4"));
  EXPECT_EQ(PositionInWords(QStringLiteral("Subject: a/b")), QStringLiteral("Subject: a/b"));
  EXPECT_EQ(PositionInWords(QString()), QString());
}

}  // namespace
}  // namespace quillet::qt
