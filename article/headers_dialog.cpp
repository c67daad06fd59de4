// SPDX-License-Identifier: GPL-3.0-or-later
#include "article/headers_dialog.h"

#include "article/message_body.h"
#include "base/guarded.h"
#include "base/modal_dialog.h"
#include "mime/shown_text.h"
#include "port/dialogs.h"
#include "port/platform.h"
#include "res/resource.h"
#include "store/records.h"
#include "thread/reading.h"
#include "util/format.h"

namespace quillet {
namespace {

void AppendPresent(std::u16string& text, std::u16string_view name,
                   const std::optional<std::string>& value) {
  if (value && !value->empty()) text.append(name).append(RawHeader(*value)).append(u"\r\n");
}

}  // namespace

std::u16string MessageHeadersText(const AsciiArticle& article) {
  std::u16string text = u"Subject: " + RawHeader(article.subject.value_or("")) + u"\r\n";
  AppendPresent(text, u"From: ", article.from);
  AppendPresent(text, u"Date: ", article.date);
  // Meant: shown when it tells nothing new, empty like the author too, left out when it does. The
  // dialog's text is the same in every version; another address stands in the header block of the
  // article's own text.
  if (article.replyTo.value_or("") == article.from.value_or("")) {
    text.append(u"Reply-To: ").append(RawHeader(article.replyTo.value_or(""))).append(u"\r\n");
  }
  AppendPresent(text, u"Message-ID: ", article.messageId);
  text += RawHeader(WithFullLineEnds(article.headers.value_or("")));
  AppendPresent(text, u"X-Quillet-ParentID: ", article.parentId);
  AppendPresent(text, u"X-Quillet-ServerName: ", article.source);
  text += FormatWide(u"X-Quillet-ServerID: %lu\r\n", article.articleNumber);
  text += FormatWide(u"X-Quillet-CompressedSavings: %d%%\r\n",
                     static_cast<int>(article.compressionSavings * 100));
  return text;
}

void ShowMessageHeaders() {
  if (!gReading.article) return;
  std::u16string text;
  const bool made =
      Guarded(u"ShowMessageHeaders", [&text] { text = MessageHeadersText(*gReading.article); });
  if (!made) return;
  RunModalDialog(
      kDialogMessageHeaders,
      [&](port::WindowHandle dialog) {
        gPlatform->dialogs.Write(dialog, kControlMessageHeaders, port::Text{text});
      },
      EndOnOkOrCancel);
}

}  // namespace quillet
