// SPDX-License-Identifier: GPL-3.0-or-later
// Bodies of many parts.
#include <gtest/gtest.h>

#include "mime/body.h"
#include "util/text.h"

namespace quillet {
namespace {

const std::string kMixed =
    "MIME-Version: 1.0\r\nContent-Type: multipart/mixed;\r\n boundary=\"=b\"\r\n";

DecodedBody Decode(std::string_view head, std::string_view body) {
  return DecodeBody({.head = head, .body = body});
}

std::string Multipart(std::string_view subtype, std::initializer_list<std::string_view> parts,
                      std::string_view boundary) {
  std::string text = "Content-Type: multipart/" + std::string(subtype) +
                     "; boundary=" + std::string(boundary) + "\r\n\r\n";
  for (const std::string_view part : parts) {
    text.append("--").append(boundary).append("\r\n").append(part).append("\r\n");
  }
  return text.append("--").append(boundary).append("--\r\n");
}

DecodedBody DecodeEntity(const std::string& entity) {
  const std::size_t empty = entity.find("\r\n\r\n");
  return Decode(entity.substr(0, empty + 2), entity.substr(empty + 4));
}

constexpr std::string_view kText = "Content-Type: text/plain; charset=utf-8\r\n\r\n\xC3\xBC";
constexpr std::string_view kMore = "\r\nmore\r\n";
constexpr std::string_view kHtml = "Content-Type: text/html\r\n\r\n<p>page</p>";
constexpr std::string_view kPicture =
    "Content-Type: image/png; name=p.png\r\nContent-Transfer-Encoding: base64\r\n\r\niVBORw==";
constexpr std::string_view kNote =
    "Content-Type: text/plain; name=n.txt\r\nContent-Disposition: attachment\r\n\r\nnote";

const Attachment kPictureListed{u"p.png", "image/png", 4, 0};

TEST(Multipart, TextsAreShownBehindAnEmptyLineAndTheRestIsListed) {
  const DecodedBody body = DecodeEntity(Multipart("mixed", {kText, kPicture, kMore, kNote}, "x"));
  EXPECT_EQ(body.text, u"ü\r\n\r\nmore\r\n");
  EXPECT_EQ(body.attachments,
            (std::vector<Attachment>{kPictureListed, {u"n.txt", "text/plain", 4, 1}}));
  EXPECT_FALSE(body.damaged);
}

TEST(Multipart, EachAttachmentsBytesAreItsOwn) {
  const std::string entity = Multipart("mixed", {kText, kPicture, kNote}, "x");
  const std::size_t empty = entity.find("\r\n\r\n");
  const std::string head = entity.substr(0, empty + 2), body = entity.substr(empty + 4);
  EXPECT_EQ(AttachmentBytes({head, body}, 0), "\x89PNG");
  EXPECT_EQ(AttachmentBytes({head, body}, 1), "note");
  EXPECT_EQ(AttachmentBytes({head, body}, 2), "");
}

TEST(Multipart, OfAlternativesThePlainOneIsShown) {
  EXPECT_EQ(DecodeEntity(Multipart("alternative", {kHtml, kText}, "x")).text, u"ü");
  EXPECT_TRUE(DecodeEntity(Multipart("alternative", {kHtml, kText}, "x")).attachments.empty());
  EXPECT_EQ(DecodeEntity(Multipart("alternative", {kPicture, kHtml}, "x")).text, u"page\r\n");
  EXPECT_EQ(DecodeEntity(Multipart("alternative", {"\r\n \r\n", kHtml}, "x")).text, u"page\r\n");
  const std::string related = Multipart("related", {kHtml, kPicture}, "y");
  const DecodedBody body = DecodeEntity(Multipart("alternative", {kText, related}, "x"));
  EXPECT_EQ(body.text, u"ü");
  EXPECT_EQ(body.attachments, std::vector<Attachment>{kPictureListed});
}

TEST(Multipart, ABrokenAlternativeIsBetterThanNone) {
  constexpr std::string_view kNever =
      "Content-Type: multipart/mixed; boundary=never\r\n\r\nits text";
  const DecodedBody alone = DecodeEntity(Multipart("alternative", {kPicture, kNever}, "x"));
  EXPECT_EQ(alone.text, u"its text");
  EXPECT_TRUE(alone.damaged);
  EXPECT_EQ(alone.attachments, std::vector<Attachment>{kPictureListed});
  EXPECT_EQ(DecodeEntity(Multipart("related", {kText, kNever}, "x")).attachments,
            (std::vector<Attachment>{{u"attachment-1.bin", "multipart/mixed", 8, 0}}));
}

TEST(Multipart, AttachedAlternativesAreListed) {
  const DecodedBody body = DecodeEntity(Multipart("alternative", {kText, kNote}, "x"));
  EXPECT_EQ(body.text, u"ü");
  EXPECT_EQ(body.attachments, (std::vector<Attachment>{{u"n.txt", "text/plain", 4, 0}}));
}

TEST(Multipart, OfRelatedAndSignedPartsTheFirstIsTheText) {
  constexpr std::string_view kSignature =
      "Content-Type: application/pgp-signature\r\n\r\n-----BEGIN PGP SIGNATURE-----";
  const DecodedBody signature = DecodeEntity(Multipart("signed", {kText, kSignature}, "x"));
  EXPECT_EQ(signature.text, u"ü");
  EXPECT_EQ(signature.attachments,
            (std::vector<Attachment>{{u"attachment-1.asc", "application/pgp-signature", 29, 0}}));
  const DecodedBody related = DecodeEntity(Multipart("related", {kHtml, kPicture, kMore}, "x"));
  EXPECT_EQ(related.text, u"page\r\n");
  EXPECT_EQ(related.attachments.size(), 2U);
}

TEST(Multipart, MessagesAreShownWithTheirHeads) {
  const std::string message =
      "Content-Type: message/rfc822\r\n\r\nDate: today\r\nFrom: =?utf-8?Q?J=C3=B6rg?= <a@b>\r\n"
      "Subject: Hello\r\n there\r\nContent-Type: text/plain; charset=utf-8\r\n\r\n\xC3\xBC\r\n";
  const DecodedBody body = DecodeEntity(Multipart("mixed", {kMore, message}, "x"));
  EXPECT_EQ(body.text,
            u"more\r\n\r\nFrom: Jörg <a@b>\r\nSubject: Hello there\r\nDate: today\r\n\r\nü\r\n");
  const std::string digest = "\r\nSubject: one\r\n\r\ntext";
  EXPECT_EQ(DecodeEntity(Multipart("digest", {digest}, "x")).text, u"Subject: one\r\n\r\ntext");
}

TEST(Multipart, AMessageKeepsItsAttachments) {
  const std::string inner = Multipart("mixed", {kText, kPicture}, "y");
  const DecodedBody body =
      DecodeEntity("Content-Type: message/rfc822\r\n\r\nSubject: s\r\n" + inner);
  EXPECT_EQ(body.text, u"Subject: s\r\n\r\nü");
  EXPECT_EQ(body.attachments, std::vector<Attachment>{kPictureListed});
}

TEST(Multipart, AnAttachedMessageIsListedOnly) {
  const std::string message =
      "Content-Type: message/rfc822\r\nContent-Disposition: attachment\r\n\r\nSubject: s\r\n\r\nx";
  const DecodedBody body = DecodeEntity(Multipart("mixed", {kText, message}, "x"));
  EXPECT_EQ(body.text, u"ü");
  EXPECT_EQ(body.attachments,
            (std::vector<Attachment>{{u"attachment-1.eml", "message/rfc822", 15, 0}}));
}

TEST(Multipart, ReportsAreTexts) {
  const DecodedBody body = DecodeEntity(Multipart(
      "report", {kText, "Content-Type: message/delivery-status\r\n\r\nStatus: 5.1.1"}, "x"));
  EXPECT_EQ(body.text, u"ü\r\n\r\nStatus: 5.1.1");
}

TEST(Multipart, OnlyItsOwnBoundaryOnALineCounts) {
  const DecodedBody body = Decode(kMixed,
                                  "pre\r\n--=b \t\r\n\r\na --=b\r\n--=bc\r\n --=b\r\n--=b--x\r\n"
                                  "--=b\r\n\r\nb\r\n--=b--\r\n--=b\r\n\r\nepilogue");
  EXPECT_EQ(body.text, u"a --=b\r\n--=bc\r\n --=b\r\n--=b--x\r\n\r\nb");
}

TEST(Multipart, APartWithoutAHeadIsText) {
  EXPECT_EQ(Decode(kMixed, "--=b\r\nJust text: no field\r\nmore\r\n--=b--\r\n").text,
            u"Just text: no field\r\nmore");
  EXPECT_EQ(
      Decode(kMixed, "--=b\r\nContent-Type: text/plain; charset=utf-8\r\n\xC3\xBC!\r\n--=b--\r\n")
          .text,
      u"ü!");
  EXPECT_EQ(Decode(kMixed, "--=b\r\n indented\r\n--=b--\r\n").text, u" indented");
  EXPECT_EQ(Decode("Content-Type: message/rfc822\r\n", "From ann Sun\r\nSubject : s\r\n\r\nx").text,
            u"Subject: s\r\n\r\nx");
}

TEST(Multipart, LinesOfAnotherFieldBelowItsOwnDoNotMatter) {
  const std::string body = "--=b\r\n\r\na\r\n--=b--\r\n";
  for (const std::string_view head :
       {"Content-Type: multipart/mixed; boundary==b\r\n <ann@example.org>\r\n",
        "Content-Type: multipart/mixed; boundary=\"=b\"\r\n =?utf-8?Q?rest?=\r\n",
        "Content-Type: multipart/mixed; boundary==b;\r\n charset=utf-8\r\n of the subject\r\n"}) {
    EXPECT_EQ(Decode(head, body).text, u"a") << head;
  }
  EXPECT_EQ(Decode("Content-Type: multipart/mixed; boundary=\"a b\"\r\n", "--a b\r\n\r\nx").text,
            u"x");
}

TEST(Multipart, WhatIsThereIsShownWhenTheEndIsMissing) {
  const DecodedBody body =
      Decode(kMixed, "--=b\r\nContent-Type: text/plain\r\n\r\na\r\n--=b\r\n\r\nb\r\n");
  EXPECT_EQ(body.text, u"a\r\n\r\nb\r\n");
  EXPECT_FALSE(body.damaged);
}

TEST(Multipart, TextAroundThePartsIsShownOnlyWhenThereIsNoOther) {
  EXPECT_EQ(Decode(kMixed, "around\r\n--=b\r\n\r\na\r\n--=b--\r\nbehind").text, u"a");
  EXPECT_EQ(Decode(kMixed, "around\r\n--=b\r\nContent-Type: x/y\r\n\r\na\r\n--=b--\r\n").text,
            u"around");
  EXPECT_EQ(Decode(kMixed, "--=b--\r\nbehind").text, u"behind");
}

TEST(Multipart, NestedPartsEndWithTheOuterOne) {
  const std::string inner = "Content-Type: multipart/mixed; boundary=y\r\n\r\n--y\r\n\r\nin";
  const DecodedBody body = DecodeEntity(Multipart("mixed", {inner, kMore}, "x"));
  EXPECT_EQ(body.text, u"in\r\n\r\nmore\r\n");
}

TEST(Multipart, NestingIsFollowedSoFarAndTheRestIsText) {
  std::string entity;
  for (int i = 0; i < 10000; ++i) {
    const std::string name = "b" + std::to_string(i);
    entity.append("Content-Type: multipart/mixed; boundary=").append(name).append("\r\n\r\n--");
    entity.append(name).append("\r\n");
  }
  entity += "\r\ninnermost\r\n";
  const DecodedBody body = DecodeEntity(entity);
  EXPECT_TRUE(body.damaged);
  EXPECT_TRUE(body.text.ends_with(u"innermost\r\n"));
  EXPECT_TRUE(body.text.starts_with(u"--b32\r\n")) << ToUtf8(body.text.substr(0, 40));
}

TEST(Multipart, PartsAreReadSoFarAndTheRestIsText) {
  std::string body;
  for (int i = 0; i < 5000; ++i) body += "--=b\r\n\r\npart " + std::to_string(i) + "\r\n";
  const DecodedBody decoded = Decode(kMixed, body + "--=b--\r\n");
  EXPECT_TRUE(decoded.damaged);
  EXPECT_NE(decoded.text.find(u"part 999\r\n"), std::u16string::npos);
  EXPECT_NE(decoded.text.find(u"\r\n--=b\r\n\r\npart 4999\r\n"), std::u16string::npos);
}

TEST(Multipart, ABrokenPartIsShownAsItCame) {
  constexpr std::string_view kBroken = "Content-Transfer-Encoding: base64\r\n\r\nNo base64, no!";
  const DecodedBody body = DecodeEntity(Multipart("mixed", {kText, kBroken}, "x"));
  EXPECT_EQ(body.text, u"ü\r\n\r\nNo base64, no!");
  EXPECT_TRUE(body.damaged);
}

}  // namespace
}  // namespace quillet
