// SPDX-License-Identifier: GPL-3.0-or-later
// Any article as text: nothing is lost or grows beyond bounds, what is listed can be saved, and
// names stay on their lines and in their folder.
//
// Input: a byte of choices, then the article: head, empty line, body.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "mime/as_stored.h"
#include "mime/body.h"
#include "mime/decoding.h"
#include "mime/part_head.h"
#include "util/text.h"

namespace {

using namespace quillet;

void Require(bool holds) {
  if (!holds) std::abort();
}

bool IsControl(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

void CheckAttachment(const BodySource& source, const Attachment& attachment) {
  Require(!attachment.name.empty() && std::ranges::none_of(attachment.name, IsControl));
  Require(!attachment.type.empty());
  Require(AttachmentLine(attachment).starts_with(u"Attachment: " + attachment.name + u", "));
  const std::u16string file = SafeFileName(attachment.name);
  Require(!file.empty() && file.size() <= 120 && file.front() != u'.' && file.front() != u'~');
  Require(file.find_first_of(u"/\\") == std::u16string::npos);
  Require(std::ranges::none_of(file, IsControl) && ToUtf8(file).size() <= 255);
  Require(AttachmentBytes(source, attachment.part).size() == attachment.bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string article(reinterpret_cast<const char*>(data) + 1, size - 1);
  const HeadAndBody split = SplitHead(article);
  const BodySource source{.head = split.head, .body = split.body, .stuffed = (data[0] & 1) != 0};
  const DecodedBody body = DecodeBody(source);
  Require(body.text.size() <= 12 * split.body.size() + 64);
  Require(body.attachments.size() <= split.body.size() + 1);
  std::size_t part = 0;
  for (const Attachment& attachment : body.attachments) {
    Require(attachment.part == part);
    if (part++ < 4) CheckAttachment(source, attachment);
  }
  Require(AttachmentBytes(source, part).empty());
  if (IsShownAsStored(source)) {
    Require(body.text == RawBody(split.body) && body.attachments.empty() && !body.damaged);
  }
  SetDecoding(false);
  const DecodedBody off = DecodeBody(source);
  SetDecoding(true);
  Require(off.text == RawBody(split.body) && off.attachments.empty() && !off.damaged);
  return 0;
}
