// SPDX-License-Identifier: GPL-3.0-or-later
// Bodies of one part, and what is done to all of them.
#include "mime/body.h"

#include <gtest/gtest.h>

#include "tests/mime/without_decoding.h"
#include "util/text.h"

namespace quillet {
namespace {

DecodedBody Decode(std::string_view head, std::string_view body, bool stuffed = false) {
  return DecodeBody({.head = head, .body = body, .stuffed = stuffed});
}
std::u16string TextOf(std::string_view head, std::string_view body) {
  return Decode(head, body).text;
}

TEST(DecodeBody, AsciiWithoutMimeIsShownAsItIs) {
  const std::string body = "a\tb\x01\x7F\n\rc\r\n=C3=BC <p> \x1B$B\r\n..dots";
  EXPECT_EQ(TextOf("Path: a!b\r\nMIME-Version: 1.0\r\n", body), Widen(body));
  EXPECT_EQ(TextOf("", body), Widen(body));
  EXPECT_EQ(TextOf("Content-Type: text/plain; charset=us-ascii\r\n", body), Widen(body));
  EXPECT_EQ(
      TextOf("Content-Type: text/plain; charset=big5\r\nContent-Transfer-Encoding: 7bit\r\n", body),
      Widen(body));
}

TEST(DecodeBody, DoubledDotsAreUndoneOnlyForWhatAServerSent) {
  const std::string body = "..a\r\n.. \r\nx\r\n...\r\n.b\r\n. .\r\n";
  EXPECT_EQ(Decode("", body, true).text, u".a\r\n. \r\nx\r\n..\r\n.b\r\n. .\r\n");
  EXPECT_EQ(Decode("", body).text, Widen(body));
  EXPECT_EQ(Decode("Content-Transfer-Encoding: quoted-printable\r\n", "a=\r\n..b\r\n", true).text,
            u"a.b\r\n");
}

TEST(DecodeBody, WhileDecodingIsOffNothingIsDone) {
  const testing::WithoutDecoding off;
  const std::string head =
      "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: base64\r\n";
  EXPECT_EQ(Decode(head, "..w7w=\xC3", true).text, u"..w7w=\u00C3");
  EXPECT_TRUE(Decode("Content-Type: image/png\r\n", "x").attachments.empty());
  EXPECT_EQ(AttachmentBytes({"Content-Type: image/png\r\n", "x"}, 0), "");
}

TEST(DecodeBody, Without8BitLabelsItIsUtf8OrCodePage1252) {
  EXPECT_EQ(TextOf("", "\xC3\xBC \xE2\x82\xAC\n"), u"ü €\n");
  EXPECT_EQ(TextOf("", "\xFC \x80\n"), u"ü €\n");
  EXPECT_EQ(TextOf("Content-Type: text/plain; charset=us-ascii\r\n", "\xC3\xBC"), u"ü");
  EXPECT_EQ(TextOf("Content-Type: text/plain; charset=no-such-set\r\n", "\xC3\xBC"), u"ü");
  EXPECT_EQ(TextOf("Content-Type: text/plain; charset=utf-8\r\n", "\xFC"), u"ü");
}

TEST(DecodeBody, TheFieldsAreReadHoweverTheyAreWritten) {
  for (const std::string_view head :
       {"Content-Type: text/plain; charset=koi8-r\r\n",
        "content-type:text/plain;charset=\"koi8-r\"\r\n",
        "CONTENT-TYPE: TEXT/PLAIN;\r\n\tCHARSET=KOI8-R\r\n",
        "Content-Type: text/plain; charset*=us-ascii'en'koi8-r\n",
        "Content-Type: text/plain; charset*0=koi; charset*1=8-r\n",
        "X: y\nContent-Type: text/plain; format=fixed; charset=koi8-r (Russian)\n",
        "Content-Type : text/plain;\n  charset='koi8-r'\n", "Content-Type: text; charset=koi8-r\n",
        "Content-Type: text/plain; charset=\"koi8-r\n", "Content-Type: garbage; charset=koi8-r"}) {
    EXPECT_EQ(TextOf(head, "\xF6\xD1"), u"Жя") << head;
  }
  EXPECT_EQ(TextOf("X-Content-Type: text/plain; charset=koi8-r\n", "\xF6\xD1"), u"\u00F6\u00D1");
}

TEST(DecodeBody, TransferEncodingsAreUndone) {
  const std::string type = "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: ";
  EXPECT_EQ(TextOf(type + "quoted-printable\r\n", "Gr=C3=BC=C3=9Fe=\r\n!\r\n"), u"Grüße!\r\n");
  EXPECT_EQ(TextOf(type + "Base64\r\n", "R3LDvMOfZQo=\r\n"), u"Grüße\r\n");
  EXPECT_EQ(TextOf(type + "8bit\r\n",
                   "Gr\xC3\xBC\xC3\x9F"
                   "e\n"),
            u"Grüße\n");
  EXPECT_EQ(TextOf(type + "binary\r\n", "\xC3\xBC\n"), u"ü\n");
  EXPECT_EQ(TextOf(type + "unheard-of\r\n", "\xC3\xBC=20\n"), u"ü=20\n");
  EXPECT_EQ(TextOf("Content-Transfer-Encoding: quoted-printable (yes)\r\n", "=C3=BC\r\n"),
            u"ü\r\n");
}

TEST(DecodeBody, DecodedLinesEndWithCrLf) {
  const std::string head = "Content-Transfer-Encoding: base64\r\n";
  EXPECT_EQ(TextOf(head, "YQpiDWMNCmQ="), u"a\r\nb\r\nc\r\nd");
}

TEST(DecodeBody, ControlCharactersBecomeHarmless) {
  const std::string head =
      "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: quoted-printable\r\n";
  EXPECT_EQ(TextOf(head, "a=00=01=1B[31m=7F=C2=85=09=0C\r\n"),
            u"a\xFFFD\xFFFD\xFFFD[31m\xFFFD\xFFFD\t\f\r\n");
  EXPECT_EQ(TextOf(head, "=EF=BB=BFx\r\n"), u"x\r\n");
}

TEST(DecodeBody, StatefulSetsAreDecodedThoughTheyAreAscii) {
  EXPECT_EQ(TextOf("Content-Type: text/plain; charset=ISO-2022-JP\r\n", "\x1B$BF|K\\8l\x1B(B\r\n"),
            u"日本語\r\n");
  EXPECT_EQ(TextOf("Content-Type: text/plain; charset=utf-7\r\n", "+BBY-\r\n"), u"Ж\r\n");
}

TEST(DecodeBody, TextBehindBase64IsShown) {
  const DecodedBody body =
      Decode("Content-Transfer-Encoding: base64\r\n", "SGVsbG8=\r\n\r\n-- \r\nThe list, a@b\r\n");
  EXPECT_EQ(body.text, u"Hello\r\n\r\n-- \r\nThe list, a@b\r\n");
  EXPECT_FALSE(body.damaged);
}

TEST(DecodeBody, FilesInATextAreListedSoFar) {
  std::string text;
  for (int i = 0; i < 1200; ++i) text += "begin 644 a.txt\r\n%2&5L;&\\\r\n`\r\nend\r\n";
  const DecodedBody body = Decode("", text);
  EXPECT_EQ(body.attachments.size(), 1000U);
  EXPECT_EQ(body.text.size(), text.size() / 1200 * 200);
  EXPECT_EQ(AttachmentBytes({"", text}, 999), "Hello");
}

TEST(DecodeBody, WhatCannotBeDecodedIsShownAsItCame) {
  const std::string text = "This is no base64, as anybody can see.\r\n";
  for (const std::string_view head :
       {"Content-Transfer-Encoding: base64\r\n", "Content-Transfer-Encoding: x-uuencode\r\n",
        "Content-Type: multipart/mixed; boundary=never\r\n", "Content-Type: multipart/mixed\r\n"}) {
    const DecodedBody body = Decode(head, text);
    EXPECT_EQ(body.text, Widen(text)) << head;
    EXPECT_TRUE(body.damaged) << head;
  }
  EXPECT_FALSE(Decode("", text).damaged);
}

TEST(DecodeBody, FlowedTextIsJoined) {
  const std::string head = "Content-Type: text/plain; charset=utf-8; format=flowed; delsp=yes\r\n";
  const DecodedBody body = Decode(head, "> \xC3\xBC \r\n> x\r\na\r\n");
  EXPECT_EQ(body.text, u"> üx\r\na\r\n");
  EXPECT_TRUE(body.flowed);
  EXPECT_EQ(TextOf("Content-Type: text/plain; Format=Flowed\r\n", "a \r\nb\r\n"), u"a b\r\n");
  EXPECT_FALSE(Decode("Content-Type: text/plain; format=fixed\r\n", "a \r\nb").flowed);
}

TEST(DecodeBody, HtmlIsShownAsItsText) {
  EXPECT_EQ(TextOf("Content-Type: text/html; charset=utf-8\r\n",
                   "<p>Gr\xC3\xBC\xC3\x9F"
                   "e</p>\n<script>x</script>"),
            u"Grüße\r\n");
  EXPECT_EQ(TextOf("Content-Type: text/html\r\n", "<meta charset=koi8-r>\xF6\xD1"), u"Жя\r\n");
  EXPECT_EQ(TextOf("Content-Type: text/html\r\nContent-Transfer-Encoding: quoted-printable\r\n",
                   "<b>=C3=BC</b>=\r\n<br>"),
            u"ü\r\n");
}

TEST(DecodeBody, WhatIsNoTextIsListed) {
  const std::string head =
      "Content-Type: image/PNG; name=\"a.png\"\r\nContent-Transfer-Encoding: base64\r\n";
  const DecodedBody body = Decode(head, "iVBORw==\r\n");
  EXPECT_EQ(body.text, u"");
  EXPECT_EQ(body.attachments, (std::vector<Attachment>{{u"a.png", "image/png", 4, 0}}));
  EXPECT_EQ(AttachmentBytes({head, "iVBORw==\r\n"}, 0), "\x89PNG");
  EXPECT_EQ(AttachmentBytes({head, "iVBORw==\r\n"}, 1), "");
}

TEST(DecodeBody, TextThatIsAllThereIsIsShown) {
  EXPECT_EQ(TextOf("Content-Disposition: attachment; filename=a.txt\n", "text"), u"text");
}

TEST(DecodeBody, TextBehindAFileIsShown) {
  const DecodedBody body = Decode("Content-Type: x/y\nContent-Transfer-Encoding: base64\n",
                                  "SGVsbG8=\n-- \nThe list, a@b\n");
  EXPECT_EQ(body.text, u"-- \nThe list, a@b\n");
  EXPECT_EQ(body.attachments, (std::vector<Attachment>{{u"attachment-1.bin", "x/y", 5, 0}}));
}

TEST(DecodeBody, NamesOfAttachmentsComeInAllForms) {
  for (const std::string_view fields :
       {"Content-Type: x/y; name=wrong.bin\nContent-Disposition: attachment; "
        "filename*=UTF-8''%C3%BC.txt\n",
        "Content-Type: x/y\nContent-Disposition: attachment; filename*0*=utf-8''%C3%BC; "
        "filename*1=.txt\n",
        "Content-Type: x/y\nContent-Disposition: attachment; filename=\"=?utf-8?B?w7wudHh0?=\"\n",
        "Content-Type: x/y\nContent-Disposition: attachment; filename=\"\xC3\xBC.txt\"\n",
        "Content-Type: x/y; name*=iso-8859-1'de'%FC.txt\nContent-Disposition: attachment\n"}) {
    const DecodedBody body = Decode(fields, "abc");
    ASSERT_EQ(body.attachments.size(), 1U) << fields;
    EXPECT_EQ(body.attachments[0].name, u"ü.txt") << fields;
  }
  EXPECT_EQ(Decode("Content-Type: x/y\n", "a").attachments[0].name, u"attachment-1.bin");
}

}  // namespace
}  // namespace quillet
