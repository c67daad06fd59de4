// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/attachment.h"

#include <gtest/gtest.h>

#include "mime/body.h"
#include "util/text.h"

namespace quillet {
namespace {

std::u16string LineFor(std::uint64_t bytes) {
  return AttachmentLine({.name = u"photo.jpg", .type = "image/jpeg", .bytes = bytes, .part = 0});
}

TEST(AttachmentLine, SaysNameTypeAndSize) {
  EXPECT_EQ(LineFor(49357), u"Attachment: photo.jpg, image/jpeg, 48.2K");
  EXPECT_EQ(LineFor(0), u"Attachment: photo.jpg, image/jpeg, 0 bytes");
  EXPECT_EQ(LineFor(1), u"Attachment: photo.jpg, image/jpeg, 1 byte");
  EXPECT_EQ(LineFor(812), u"Attachment: photo.jpg, image/jpeg, 812 bytes");
  EXPECT_EQ(LineFor(1023), u"Attachment: photo.jpg, image/jpeg, 1023 bytes");
  EXPECT_EQ(LineFor(1024), u"Attachment: photo.jpg, image/jpeg, 1.0K");
  EXPECT_EQ(LineFor(1024 * 1024 - 1), u"Attachment: photo.jpg, image/jpeg, 1.0M");
  EXPECT_EQ(LineFor(1363149), u"Attachment: photo.jpg, image/jpeg, 1.3M");
  EXPECT_EQ(LineFor(3221225472), u"Attachment: photo.jpg, image/jpeg, 3.0G");
  EXPECT_EQ(LineFor(~std::uint64_t{0}), u"Attachment: photo.jpg, image/jpeg, 17179869184.0G");
}

TEST(AttachmentName, IsNeverEmptyAndOnOneLine) {
  EXPECT_EQ(AttachmentName(u"", "image/jpeg", 2), u"attachment-2.jpg");
  EXPECT_EQ(AttachmentName(u"a\tb.c", "x/y", 1), u"a b.c");
  EXPECT_EQ(AttachmentName(u" \t\r\n", "x/y", 1), u"attachment-1.bin");
  EXPECT_EQ(AttachmentName(u"a\r\nb\x202Egnp.exe\x0001", "x/y", 1), u"a  bgnp.exe\xFFFD");
}

TEST(SafeFileName, IsNeverAPath) {
  EXPECT_EQ(SafeFileName(u"photo.jpg"), u"photo.jpg");
  EXPECT_EQ(SafeFileName(u"../../etc/passwd"), u"passwd");
  EXPECT_EQ(SafeFileName(u"C:\\Windows\\system.ini"), u"system.ini");
  EXPECT_EQ(SafeFileName(u"/"), u"attachment");
  EXPECT_EQ(SafeFileName(u"a/"), u"attachment");
  EXPECT_EQ(SafeFileName(u"a\\..\\.."), u"attachment");
}

TEST(SafeFileName, IsNeverEmptyNorHidden) {
  for (const std::u16string_view name : {u"", u".", u"..", u"...", u" ", u". .", u"\x202E"}) {
    EXPECT_EQ(SafeFileName(name), u"attachment");
  }
  EXPECT_EQ(SafeFileName(u"..bashrc"), u"bashrc");
  EXPECT_EQ(SafeFileName(u" .a. "), u"a");
  EXPECT_EQ(SafeFileName(u"~root"), u"root");
  EXPECT_EQ(SafeFileName(u"~/.~x~"), u"x~");
  EXPECT_EQ(SafeFileName(u"~"), u"attachment");
  EXPECT_EQ(SafeFileName(std::u16string(1000, u'.') + u"x"), u"x");
}

TEST(SafeFileName, HasNoCharactersThatFilesLack) {
  EXPECT_EQ(SafeFileName(u"a:b*c?d\"e<f>g|h"), u"a_b_c_d_e_f_g_h");
  EXPECT_EQ(SafeFileName(std::u16string_view(u"a\0b\nc\x7F", 6)), u"a_b c_");
  EXPECT_EQ(SafeFileName(u"x\xD800y\xDC00"), u"x_y_");
  EXPECT_EQ(SafeFileName(u"Grüße 日本😀.txt"), u"Grüße 日本😀.txt");
}

TEST(SafeFileName, LongOnesKeepTheirExtension) {
  EXPECT_EQ(SafeFileName(std::u16string(1000, u'a') + u".jpeg"),
            std::u16string(115, u'a') + u".jpeg");
  EXPECT_EQ(SafeFileName(u"a." + std::u16string(1000, u'b')), u"a." + std::u16string(118, u'b'));
  std::u16string faces;
  for (int i = 0; i < 500; ++i) faces += u"😀";
  const std::u16string name = SafeFileName(u"a" + faces + u".png");
  EXPECT_TRUE(name.ends_with(u"😀.png"));
  EXPECT_LE(name.size(), 120U);
  EXPECT_LE(ToUtf8(SafeFileName(std::u16string(500, u'日') + u".png")).size(), 240U);
}

}  // namespace
}  // namespace quillet
