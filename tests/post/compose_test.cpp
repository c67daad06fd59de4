// SPDX-License-Identifier: GPL-3.0-or-later
#include "post/compose.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/extensions.h"
#include "base/prefs.h"
#include "base/reset.h"
#include "mime/decoding.h"
#include "port/fake/fake_platform.h"
#include "post/article_text.h"
#include "post/check.h"
#include "tests/support/failing_new.h"
#include "util/text.h"

namespace quillet {
namespace {

class Compose : public ::testing::Test {
 protected:
  Compose() {
    gPrefs = NewPrefs();
    SetDefaultPrefs(*gPrefs, true);
    gPrefs->fullname = u"Ann Example";
    gPrefs->returnmailaddress = u"ann@example.invalid";
    gPrefs->extraheaders = u"";
    gPrefs->signature = u"-- \r\nAnn\r\n";
    gPrefs->attribution = u"In message $i, $a wrote:";
    gPrefs->quotestring = u"> ";
    gPrefs->simplepost = 0;
    source.messageId = "<s@x>";
    source.headers = "Newsgroups: comp.test,alt.test\r\nReferences: <a@x> <b@x>\r";
    source.body = "One\r\n\r\nTwo\r\n";
    source.subject = "Hello";
    source.from = "Bob <bob@example.invalid>";
    source.date = "1 Jan 2001";
    source.replyTo = "Bob <reply@example.invalid>";
  }
  ~Compose() override { ResetProgram(); }

  void WriteCodePage() { fake.registry.PutDword(kExtensionsPath, u"postcharsets", 0); }

  port::FakePlatform fake;
  AsciiArticle source;
};

TEST_F(Compose, NewArticleHasAnEmptyLineBeforeTheSeparator) {
  EXPECT_EQ(CreateBlankHeader(u"comp.test"),
            u"From: \"Ann Example\" <ann@example.invalid>\r\nSubject: \r\nNewsgroups: comp.test\r\n"
            u"\r\n--- Begin body here ---\r\n-- \r\nAnn\r\n\r\n");
}

TEST_F(Compose, ExtraHeadersThatEndTheirLineGetNoOtherEnd) {
  gPrefs->signature = u"";
  gPrefs->extraheaders = u"X-A: 1\r\n";
  EXPECT_EQ(CreateBlankHeader(u"g"),
            u"From: \"Ann Example\" <ann@example.invalid>\r\nSubject: \r\nNewsgroups: g\r\n"
            u"X-A: 1\r\n--- Begin body here ---\r\n");
  gPrefs->extraheaders = u"X-A: 1";
  EXPECT_TRUE(CreateBlankHeader(u"g").ends_with(u"X-A: 1\r\n--- Begin body here ---\r\n"));
}

TEST_F(Compose, ReplyHeaderTakesTheArticlesGroupsAndAddsNoLineEnd) {
  EXPECT_EQ(CreateReplyHeader(source, u"comp.other"),
            u"From: \"Ann Example\" <ann@example.invalid>\r\nSubject: Re: Hello\r\n"
            u"Newsgroups: comp.test,alt.test\r\n--- Begin body here ---\r\n");
  gPrefs->extraheaders = u"X-A: 1";
  EXPECT_TRUE(CreateReplyHeader(source, u"").ends_with(u"X-A: 1--- Begin body here ---\r\n"));
}

TEST_F(Compose, ReplyHeaderFallsBackToTheCurrentGroup) {
  source.headers = "";
  EXPECT_NE(CreateReplyHeader(source, u"comp.other").find(u"\r\nNewsgroups: comp.other\r\n"),
            std::u16string::npos);
  source.headers.reset();
  EXPECT_NE(CreateReplyHeader(source, u"comp.other").find(u"\r\nNewsgroups: comp.other\r\n"),
            std::u16string::npos);
}

TEST_F(Compose, GroupNamesBringNoHeaderLines) {
  EXPECT_NE(ComposeNewArticle(u"g\r\nApproved: me")->text.find(u"Newsgroups: g  Approved: me\r\n"),
            std::u16string::npos);
  source.headers = "";
  EXPECT_NE(
      ComposeReply(source, u"g\r\nApproved: me")->text.find(u"Newsgroups: g  Approved: me\r\n"),
      std::u16string::npos);
}

TEST_F(Compose, SubjectWithReStaysAsItIs) {
  EXPECT_EQ(MakeReLine("Hello"), u"Re: Hello");
  EXPECT_EQ(MakeReLine("re: Hello"), u"re: Hello");
  EXPECT_EQ(MakeReLine("RE:Hello"), u"RE:Hello");
  EXPECT_EQ(MakeReLine("rE:"), u"rE:");
  EXPECT_EQ(MakeReLine("Reply"), u"Re: Reply");
  EXPECT_EQ(MakeReLine(""), u"Re: ");
  EXPECT_EQ(MakeReLine("caf\xE9 \x80"), u"Re: caf\u00E9 \u20AC");
}

TEST_F(Compose, AttributionExpandsItsFourCodes) {
  gPrefs->attribution = u"$i|$a|$d|$r|";
  EXPECT_EQ(ExpandAttribution(source),
            u"<s@x>|Bob <bob@example.invalid>|1 Jan 2001|Bob <reply@example.invalid>|\r\n");
}

TEST_F(Compose, UnknownCodesVanishWithTheirLetter) {
  gPrefs->attribution = u"a$$b$xc$";
  EXPECT_EQ(ExpandAttribution(source), u"abc\r\n");
  gPrefs->attribution = u"$$i";
  EXPECT_EQ(ExpandAttribution(source), u"i\r\n");
  gPrefs->attribution = u"";
  EXPECT_EQ(ExpandAttribution(source), u"\r\n");
}

TEST_F(Compose, MissingTextsExpandToNothing) {
  gPrefs->attribution = u"[$i$a$d$r]";
  EXPECT_EQ(ExpandAttribution(AsciiArticle()), u"[]\r\n");
}

TEST_F(Compose, AttributionCopiesBytesSignExtended) {
  WriteCodePage();
  gPrefs->attribution = u"$a";
  source.from = "J\xF6rg \x80\xFF";
  EXPECT_EQ(ExpandAttribution(source), u"J\xFFF6rg \xFF80\xFFFF\r\n");
}

TEST_F(Compose, AttributionIsBoundedButForItsLastExpansion) {
  gPrefs->attribution = std::u16string(1020, u'x') + u"$a$a!";
  source.from = std::string(3000, 'y');
  EXPECT_EQ(ExpandAttribution(source),
            std::u16string(1020, u'x') + std::u16string(3000, u'y') + u"\r\n");
  gPrefs->attribution = std::u16string(5000, u'x');
  EXPECT_EQ(ExpandAttribution(source).size(), 1024U + 2U);
}

TEST_F(Compose, EveryLineIsQuotedTheEmptyOnesToo) {
  EXPECT_EQ(QuoteBody("One\r\n\r\nTwo\r\n"), u"> One\r\n> \r\n> Two\r\n");
  EXPECT_EQ(QuoteBody("One\r\n\r\nTwo"), u"> One\r\n> \r\n> Two");
  EXPECT_EQ(QuoteBody("> One\n"), u"> > One\n");
  EXPECT_EQ(QuoteBody("\n"), u"> \n");
  EXPECT_EQ(QuoteBody(""), u"");
  gPrefs->quotestring = u"";
  EXPECT_EQ(QuoteBody("a\nb\n"), u"a\nb\n");
}

TEST_F(Compose, QuotedBytesComeBackTheSame) {
  std::string bytes;
  for (int i = 1; i < 256; ++i) bytes += static_cast<char>(i);
  EXPECT_EQ(QuotedUnits("\xE9\x80z"), u"\xFFE9\xFF80z");
  EXPECT_EQ(ToArticleText(QuotedUnits(bytes)), bytes);
  EXPECT_EQ(ToArticleText(ShownInEditor(QuotedUnits(bytes))), bytes);
  EXPECT_EQ(ShownInEditor(u"\xFFE9\xFF80z\u4E2D"), u"\u00E9\u20ACz\u4E2D");
  EXPECT_EQ(ToArticleText(u"\u4E2D"), "?");
}

TEST_F(Compose, ReplyTextEndsWithTheSignatureAlone) {
  EXPECT_EQ(CreateReplyText(source, u"g", false),
            u"In message <s@x>, Bob <bob@example.invalid> wrote:\r\n> One\r\n> \r\n> Two\r\n\r\n"
            u"-- \r\nAnn\r\n");
  EXPECT_EQ(CreateReplyText(source, u"g", true),
            CreateReplyHeader(source, u"g") + CreateReplyText(source, u"g", false));
}

TEST_F(Compose, AddressStandsInBracketsOrComesFirst) {
  EXPECT_EQ(ExtractAddress("Bob <bob@x>"), u"bob@x");
  EXPECT_EQ(ExtractAddress("<bob@x"), u"bob@x");
  EXPECT_EQ(ExtractAddress("bob@x (Bob <b>)"), u"bob@x");
  EXPECT_EQ(ExtractAddress("bob@x"), u"bob@x");
  EXPECT_EQ(ExtractAddress("Bob Example"), u"Bob");
  EXPECT_EQ(ExtractAddress(""), u"");
  EXPECT_EQ(ExtractAddress("<>"), u"");
  EXPECT_EQ(ExtractAddress(std::string(5000, 'a')).size(), 1023U);
  EXPECT_EQ(ExtractAddress("<" + std::string(5000, 'a') + ">").size(), 1023U);
}

TEST_F(Compose, ReferencesOfAReplyEndWithTheArticle) {
  EXPECT_EQ(ReferencesOfReply(source), u"<a@x> <b@x> <s@x>");
  source.headers = "Newsgroups: g\r";
  EXPECT_EQ(ReferencesOfReply(source), u"<s@x>");
  source.messageId.reset();
  EXPECT_EQ(ReferencesOfReply(source), u"");
  source.headers = "References: <a@x>\r";
  EXPECT_EQ(ReferencesOfReply(source), u"<a@x>");
}

TEST_F(Compose, OfFoldedReferencesTheFirstLineIsTaken) {
  source.headers = "References: <a@x>\r\n <b@x>\r\nLines: 1\r";
  EXPECT_EQ(ReferencesOfReply(source), u"<a@x> <s@x>");
}

TEST_F(Compose, NewArticleRecord) {
  const auto info = ComposeNewArticle(u"a,b");
  EXPECT_EQ(info->text, CreateBlankHeader(u"a,b"));
  EXPECT_EQ(info->newsgroups, u"a,b");
  EXPECT_EQ(info->subject + info->references + info->recipients + info->copy_to, u"");
  EXPECT_EQ(info->reply, ReplyFlag::kNew);
  EXPECT_EQ(info->mode, RouteMode::kPost);
  gPrefs->simplepost = 1;
  EXPECT_EQ(ComposeNewArticle(u"a")->text, u"-- \r\nAnn\r\n");
  gPrefs->signature = u"";
  EXPECT_EQ(ComposeNewArticle(u"a")->text, u"");
}

TEST_F(Compose, ReplyRecord) {
  const auto info = ComposeReply(source, u"comp.here");
  EXPECT_EQ(info->text, CreateReplyText(source, u"comp.here", true));
  EXPECT_EQ(info->newsgroups, u"comp.here");
  EXPECT_EQ(info->subject, u"Re: Hello");
  EXPECT_EQ(info->references, u"<a@x> <b@x> <s@x>");
  EXPECT_EQ(info->recipients, u"");
  EXPECT_EQ(info->reply, ReplyFlag::kReply);
  EXPECT_EQ(info->mode, RouteMode::kPost);
  gPrefs->simplepost = 1;
  EXPECT_EQ(ComposeReply(source, u"g")->text, CreateReplyText(source, u"g", false));
}

TEST_F(Compose, ForwardRecord) {
  const auto info = ComposeForward(source, u"comp.here");
  EXPECT_EQ(info->text, CreateReplyText(source, u"comp.here", true));
  EXPECT_EQ(info->newsgroups, u"");
  EXPECT_EQ(info->subject, u"Re: Hello");
  EXPECT_EQ(info->references, u"<a@x> <b@x>");
  EXPECT_EQ(info->recipients, u"reply@example.invalid");
  EXPECT_EQ(info->reply, ReplyFlag::kReply);
  EXPECT_EQ(info->mode, RouteMode::kForward);
  source.replyTo = "";
  EXPECT_EQ(ComposeForward(source, u"g")->recipients, u"bob@example.invalid");
  source.from = "";
  EXPECT_EQ(ComposeForward(source, u"g")->recipients, u"");
}

TEST_F(Compose, QueuedPostIsEditedWithoutItsReferences) {
  AsciiArticle post;
  post.messageId = "20260101";
  post.headers = "From: a\r\nReferences: <a@x>\r\nNewsgroups: g,h\r\nreferences: kept\r\n";
  post.body = "B\xE9\r\n";
  post.subject = "S\xE9";
  EXPECT_EQ(PostToEditText(post),
            u"From: a\r\nNewsgroups: g,h\r\nreferences: kept\r\n--- Begin body here ---\r\n"
            u"B\u00E9\r\n");
  const auto info = ComposeQueuedPost(post);
  EXPECT_EQ(info->text, PostToEditText(post));
  EXPECT_EQ(info->key, "20260101");
  EXPECT_EQ(info->reply, ReplyFlag::kQueued);
  EXPECT_EQ(info->mode, RouteMode::kPost);
  EXPECT_EQ(info->newsgroups, u"g,h");
  EXPECT_EQ(info->references, u"<a@x>");
  EXPECT_EQ(info->subject, u"S\u00E9");
  EXPECT_EQ(info->recipients, u"");
  gPrefs->simplepost = 1;
  EXPECT_EQ(ComposeQueuedPost(post)->text, u"B\u00E9\r\n");
}

TEST_F(Compose, DamagedQueuedPostsCanBeEdited) {
  AsciiArticle post;
  EXPECT_EQ(PostToEditText(post), kBodySeparator);
  EXPECT_EQ(ComposeQueuedPost(post)->newsgroups, u"");
  post.headers = std::string("no colon\n\nA: b\0C: d", 18);
  post.body = std::string("x\0y", 3);
  EXPECT_EQ(PostToEditText(post), u"no colon\nA: b\n--- Begin body here ---\r\nx");
}

// --- every language, and the same with it switched off ---

TEST_F(Compose, RepliesQuoteWhatIsShown) {
  gPrefs->attribution = u"$a, $d, $r:";
  source.subject = "=?UTF-8?B?zqnOvM6tzrPOsQ==?=";
  source.from = "=?UTF-8?Q?=CE=A9?= <a@b>";
  source.date = "1 Jan 2001 (\xC3\xA9t\xC3\xA9)";
  source.replyTo = "=?ISO-8859-7?Q?=D9?= <r@b>";
  source.headers =
      "Newsgroups: g\r\nMIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
      "Content-Transfer-Encoding: quoted-printable\r\n";
  source.body = "=CE=A9 =\r\nand caf=C3=A9\r\n\r\n> old\r\n";
  const auto info = ComposeReply(source, u"g");
  EXPECT_TRUE(info->characters);
  EXPECT_EQ(info->subject, u"Re: \u03A9\u03BC\u03AD\u03B3\u03B1");
  EXPECT_EQ(info->text,
            u"From: \"Ann Example\" <ann@example.invalid>\r\n"
            u"Subject: Re: \u03A9\u03BC\u03AD\u03B3\u03B1\r\nNewsgroups: g\r\n"
            u"--- Begin body here ---\r\n"
            u"\u03A9 <a@b>, 1 Jan 2001 (\u00E9t\u00E9), \u03A9 <r@b>:\r\n"
            u"> \u03A9 and caf\u00E9\r\n> \r\n> > old\r\n\r\n-- \r\nAnn\r\n");
}

TEST_F(Compose, DoubledDotsAreUndoneUnlessTheArticleWasImported) {
  gPrefs->attribution = u"";
  gPrefs->signature = u"";
  gPrefs->simplepost = 1;
  source.body = "..dots\r\n..\r\n";
  source.source = "news.example.org";
  EXPECT_EQ(ComposeReply(source, u"g")->text, u"\r\n> .dots\r\n> .\r\n\r\n");
  source.source = "<import>";
  EXPECT_EQ(ComposeReply(source, u"g")->text, u"\r\n> ..dots\r\n> ..\r\n\r\n");
}

TEST_F(Compose, FlowedTextIsQuotedInLinesOf72Columns) {
  gPrefs->attribution = u"";
  gPrefs->signature = u"";
  gPrefs->simplepost = 1;
  source.headers =
      "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8; format=flowed\r\n"
      "Content-Transfer-Encoding: 8bit\r\n";
  std::string body;
  for (int i = 0; i < 5; ++i) body += "one \xCE\xA9 two three four \r\n";
  source.body = body + "end\r\n> quoted \r\n> on\r\n";
  EXPECT_EQ(
      ComposeReply(source, u"g")->text,
      u"\r\n> one \u03A9 two three four one \u03A9 two three four one \u03A9 two three four one "
      u"\u03A9\r\n> two three four one \u03A9 two three four end\r\n>> quoted on\r\n\r\n");
}

TEST_F(Compose, WhileNothingIsDecodedRepliesQuoteCodePage1252) {
  gPrefs->attribution = u"$a";
  gPrefs->signature = u"";
  gPrefs->simplepost = 1;
  source.subject = "=?UTF-8?Q?=CE=A9?=";
  source.from = "J\xF6rg";
  source.body = "caf\xE9 \x80\r\n..dots\r\n";
  SetDecoding(false);
  const auto info = ComposeReply(source, u"g");
  SetDecoding(true);
  EXPECT_TRUE(info->characters);
  EXPECT_EQ(info->subject, u"Re: =?UTF-8?Q?=CE=A9?=");
  EXPECT_EQ(info->text, u"J\u00F6rg\r\n> caf\u00E9 \u20AC\r\n> ..dots\r\n\r\n");
}

TEST_F(Compose, AttachmentsAreNotQuoted) {
  gPrefs->attribution = u"";
  gPrefs->signature = u"";
  gPrefs->simplepost = 1;
  source.headers =
      "MIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=b\r\nNewsgroups: g\r\n";
  source.body =
      "--b\r\nContent-Type: text/plain; charset=ISO-8859-7\r\n\r\n\xD9\r\n--b\r\n"
      "Content-Type: image/png; name=a.png\r\nContent-Transfer-Encoding: base64\r\n\r\niVBORw0K\r\n"
      "--b--\r\n";
  const std::u16string text = ComposeReply(source, u"g")->text;
  EXPECT_TRUE(text.starts_with(u"\r\n> \u03A9\r\n")) << text.size();
  EXPECT_EQ(text.find(u"a.png"), std::u16string::npos);
  EXPECT_EQ(text.find(u"iVBOR"), std::u16string::npos);
}

TEST_F(Compose, WhatCannotBeDecodedIsQuotedAsItIsStored) {
  gPrefs->attribution = u"";
  gPrefs->signature = u"";
  gPrefs->simplepost = 1;
  source.headers =
      "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
      "Content-Transfer-Encoding: base64\r\n";
  source.body = "This is *no* base64 at all!\r\n";
  EXPECT_EQ(ComposeReply(source, u"g")->text, u"\r\n> This is *no* base64 at all!\r\n\r\n");
}

TEST_F(Compose, LastLineThatHasNoEndGetsNone) {
  gPrefs->attribution = u"";
  gPrefs->signature = u"";
  gPrefs->simplepost = 1;
  source.headers =
      "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8; format=flowed\r\n";
  source.body = "\xCE\xA9";
  EXPECT_EQ(ComposeReply(source, u"g")->text, u"\r\n> \u03A9\r\n");
  source.headers = "Lines: 1\r\n";
  EXPECT_EQ(ComposeReply(source, u"g")->text, u"\r\n> \u03A9\r\n");
}

TEST_F(Compose, SwitchedOffRepliesQuoteWhatIsStored) {
  WriteCodePage();
  gPrefs->attribution = u"$a:";
  gPrefs->simplepost = 1;
  source.subject = "=?UTF-8?B?zqnOvM6tzrPOsQ==?=";
  source.from = "=?UTF-8?Q?=CE=A9?= <a@b>";
  source.headers = "MIME-Version: 1.0\r\nContent-Transfer-Encoding: quoted-printable\r\n";
  source.body = "=CE=A9\xCE\r\n..dots\r\n";
  const auto info = ComposeReply(source, u"g");
  EXPECT_FALSE(info->characters);
  EXPECT_EQ(info->subject, u"Re: =?UTF-8?B?zqnOvM6tzrPOsQ==?=");
  EXPECT_EQ(info->text,
            u"=?UTF-8?Q?=CE=A9?= <a@b>:\r\n> =CE=A9\xFFCE\r\n> ..dots\r\n\r\n-- \r\nAnn\r\n");
}

TEST_F(Compose, DecodedSubjectsBringNoHeaderLines) {
  source.subject = "=?UTF-8?Q?a=0D=0AApproved:_me?=";
  EXPECT_EQ(CreateReplyHeader(source, u"g").find(u"\r\nApproved"), std::u16string::npos);
}

TEST_F(Compose, SubjectIsJoinedWithItsContinuation) {
  source.subject = "=?UTF-8?B?zqnOvM6tzrPOsc6pzrzOrc6zzrHOqc68zq3Os86xzqnOvM6tzrPOsc6pzrzOrQ==?=";
  source.headers = " =?UTF-8?Q?=CE=A9?=\r\nNewsgroups: g\r\n";
  EXPECT_TRUE(ComposeReply(source, u"g")->subject.ends_with(u"\u03A9\u03BC\u03AD\u03A9"));
}

AsciiArticle QueuedInUtf8() {
  AsciiArticle post;
  post.messageId = "1";
  post.headers =
      "From: =?UTF-8?Q?=CE=A9?= <a@b>\r\nSubject: =?UTF-8?Q?=CE=A9?=\r\nNewsgroups: g\r\n"
      "References: <a@x>\r\nMIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
      "Content-Transfer-Encoding: 8bit\r\n";
  post.body = "\xE6\x97\xA5 \xEF\xBE\x80\r\n";
  post.subject = "=?UTF-8?Q?=CE=A9?=";
  return post;
}

TEST_F(Compose, QueuedPostIsEditedAsItWasWrittenWithoutTheAddedLines) {
  const auto info = ComposeQueuedPost(QueuedInUtf8());
  EXPECT_EQ(info->text,
            u"From: \u03A9 <a@b>\r\nSubject: \u03A9\r\nNewsgroups: g\r\n"
            u"--- Begin body here ---\r\n\u65E5 \uFF80\r\n");
  EXPECT_EQ(info->subject, u"\u03A9");
  EXPECT_TRUE(info->characters);
  // Stored again, it is what it was.
  const auto again = CheckArticle(info->text, info->references, TextForm::kUtf8);
  EXPECT_EQ(std::get<CheckedArticle>(again).headers, *QueuedInUtf8().headers);
  EXPECT_EQ(std::get<CheckedArticle>(again).body, *QueuedInUtf8().body);
  gPrefs->simplepost = 1;
  EXPECT_EQ(ComposeQueuedPost(QueuedInUtf8())->text, u"\u65E5 \uFF80\r\n");
}

TEST_F(Compose, MimeLinesOfTheUserStay) {
  AsciiArticle post = QueuedInUtf8();
  post.headers =
      "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=ISO-8859-7\r\n"
      "Content-Transfer-Encoding: 8bit\r\n";
  post.body = "\xD9\r\n";
  EXPECT_EQ(PostToEditText(post),
            u"Content-Type: text/plain; charset=ISO-8859-7\r\n--- Begin body here ---\r\n"
            u"\u03A9\r\n");
  // In plain ASCII nothing was added.
  post.headers =
      "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
      "Content-Transfer-Encoding: 8bit\r\n";
  post.body = "plain\r\n";
  EXPECT_EQ(PostToEditText(post), Widen(*post.headers) + u"--- Begin body here ---\r\nplain\r\n");
}

TEST_F(Compose, SwitchedOffAQueuedPostIsEditedByteForByte) {
  WriteCodePage();
  const AsciiArticle post = QueuedInUtf8();
  const auto info = ComposeQueuedPost(post);
  EXPECT_FALSE(info->characters);
  EXPECT_EQ(info->subject, u"=?UTF-8?Q?=CE=A9?=");
  const auto again = CheckArticle(info->text, info->references, TextForm::kQuotedBytes);
  const auto& article = std::get<CheckedArticle>(again);
  EXPECT_EQ(article.body, *post.body);
  EXPECT_EQ(article.headers,
            "From: =?UTF-8?Q?=CE=A9?= <a@b>\r\nSubject: =?UTF-8?Q?=CE=A9?=\r\nNewsgroups: g\r\n"
            "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
            "Content-Transfer-Encoding: 8bit\r\nReferences: <a@x>\r\n");
}

TEST_F(Compose, WithoutMemoryNothingIsComposed) {
  gPrefs->extraheaders = std::u16string(100000, u'x');
  testing::FailNewOfAtLeast(100000);
  EXPECT_EQ(ComposeNewArticle(u"g"), nullptr);
  testing::FailNewOfAtLeast(0);
  ASSERT_EQ(fake.display.boxes().size(), 1U);
  EXPECT_EQ(fake.display.boxes()[0].text,
            u"An unexpected error (out of memory) occurred in CreateBlankHeader.");
  source.subject = std::string(100000, 'x');
  testing::FailNewOfAtLeast(100000);
  EXPECT_EQ(ComposeReply(source, u"g"), nullptr);
  testing::FailNewOfAtLeast(0);
  ASSERT_EQ(fake.display.boxes().size(), 2U);
  EXPECT_EQ(fake.display.boxes()[1].text,
            u"An unexpected error (out of memory) occurred in MakeReLine.");
}

}  // namespace
}  // namespace quillet
