// SPDX-License-Identifier: GPL-3.0-or-later
#include "article/attachments.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "article/render.h"
#include "base/guarded.h"
#include "base/messages.h"
#include "base/save_file.h"
#include "store/article_source.h"
#include "store/records.h"
#include "thread/reading.h"
#include "util/format.h"

namespace quillet {
namespace {

std::string_view TextOf(const std::optional<std::string>& text) {
  return text ? std::string_view(*text) : std::string_view();
}

// Of the current article.
std::optional<Attachment> FindAttachment(std::u16string_view target) {
  if (!gReading.article) return std::nullopt;
  const std::vector<Attachment> attachments =
      DecodeBody(BodySourceOf(*gReading.article)).attachments;
  const auto found = std::ranges::find_if(attachments, [target](const Attachment& attachment) {
    return AttachmentTarget(attachment.part) == target;
  });
  return found == attachments.end() ? std::nullopt : std::optional(*found);
}

}  // namespace

BodySource BodySourceOf(const AsciiArticle& article) {
  return {.head = TextOf(article.headers),
          .body = TextOf(article.body),
          .stuffed = HasDoubledDots(article.source.value_or(""))};
}

bool IsAttachmentTarget(std::u16string_view target) {
  return target.starts_with(kAttachmentScheme);
}

void SaveAttachment(std::u16string_view target) {
  Guarded(u"SaveAttachment", [target] {
    const std::optional<Attachment> attachment = FindAttachment(target);
    if (attachment) {
      SaveAnyFile(u"Save attachment as", SafeFileName(attachment->name), [&attachment] {
        return AttachmentBytes(BodySourceOf(*gReading.article), attachment->part);
      });
    } else {
      ShowMessage(
          u"The article that is shown has no such attachment any more. Please open the article "
          u"again.");
    }
  });
}

}  // namespace quillet
