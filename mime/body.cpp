#include "mime/body.h"

#include "util/text.h"

namespace quillet {

DecodedBody DecodeBody(const BodySource& source) {
  return {.text = RawBody(source.body), .attachments = {}, .damaged = false, .flowed = false};
}

std::u16string RawBody(std::string_view stored) {
  return Widen(stored);
}

std::string AttachmentBytes(const BodySource& /*source*/, std::size_t /*part*/) {
  return {};
}

std::u16string AttachmentLine(const Attachment& attachment) {
  return u"Attachment: " + attachment.name + u", " + Widen(attachment.type);
}

std::u16string SafeFileName(std::u16string_view name) {
  return std::u16string(name);
}

}  // namespace quillet
