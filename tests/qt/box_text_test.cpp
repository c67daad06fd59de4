// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/box_text.h"

namespace quillet::qt {
namespace {

QString Shown(const char* text) {
  return BoxText(QString::fromUtf8(text));
}

TEST(BoxText, LineEndsAtTheEndAreNotShown) {
  EXPECT_EQ(Shown("socket destroyed\r\n"), QStringLiteral("socket destroyed"));
  EXPECT_EQ(Shown("socket destroyed\r\n\r\n"), QStringLiteral("socket destroyed"));
  EXPECT_EQ(Shown("one\r\ntwo\n\r"), QStringLiteral("one\ntwo"));
  EXPECT_EQ(Shown("no line end "), QStringLiteral("no line end "));
  EXPECT_EQ(Shown("\r\n"), QString());
  EXPECT_EQ(Shown(""), QString());
}

TEST(BoxText, NoCarriageReturnIsLeft) {
  EXPECT_EQ(Shown("one\r\ntwo\rthree\nfour"), QStringLiteral("one\ntwo\nthree\nfour"));
}

TEST(BoxText, AServersAnswerInQuotationMarksStaysOnItsLine) {
  EXPECT_EQ(Shown("a.one: server reports error ('411 no such group\r\n')"),
            QStringLiteral("a.one: server reports error ('411 no such group')"));
  EXPECT_EQ(Shown("a.one: server reports error ('411 no such group\r\n')a.two: server reports "
                  "error ('411 gone\r\n')socket destroyed\r\n"),
            QStringLiteral("a.one: server reports error ('411 no such group')\n"
                           "a.two: server reports error ('411 gone')\nsocket destroyed"));
  EXPECT_EQ(
      Shown("I sent AUTHINFO, and the server responded '481 no\r\n'.\r\nsocket destroyed\r\n"),
      QStringLiteral("I sent AUTHINFO, and the server responded '481 no'.\nsocket destroyed"));
}

TEST(BoxText, NoEmptyLineStandsBehindAServersAnswer) {
  EXPECT_EQ(
      Shown("Article rejected by server: 441 435 Duplicate\r\n\r\nArticle rejected by server: "
            "441 no\r\n\r\n"),
      QStringLiteral("Article rejected by server: 441 435 Duplicate\n"
                     "Article rejected by server: 441 no"));
}

TEST(BoxText, ParagraphsStay) {
  EXPECT_EQ(Shown("The certificate has expired.\r\n\r\nSHA-256 fingerprint:\r\nAB:CD\r\n\r\nTrust "
                  "this certificate from now on?"),
            QStringLiteral("The certificate has expired.\n\nSHA-256 fingerprint:\nAB:CD\n\nTrust "
                           "this certificate from now on?"));
  EXPECT_EQ(Shown("It is 'quoted'.\r\nAnd goes on."),
            QStringLiteral("It is 'quoted'.\nAnd goes on."));
}

TEST(BoxText, AMegabyteOfLineEndsIsNothing) {
  const QString text = QStringLiteral("x") + QString(1 << 20, QLatin1Char('\n'));
  EXPECT_EQ(BoxText(text), QStringLiteral("x"));
  EXPECT_EQ(BoxText(text + QLatin1Char('y')).size(), (1 << 20) + 2);
}

TEST(WithoutLastLineEnd, LeavesLinesInside) {
  EXPECT_EQ(WithoutLastLineEnd(QStringLiteral("200 welcome\r\n")), QStringLiteral("200 welcome"));
  EXPECT_EQ(WithoutLastLineEnd(QStringLiteral("a\r\n\r\nb\r\n")), QStringLiteral("a\n\nb"));
}

}  // namespace
}  // namespace quillet::qt
