// SPDX-License-Identifier: GPL-3.0-or-later
#include "article/message_body.h"

#include "article/attachments.h"
#include "base/guarded.h"
#include "base/prefs.h"
#include "mime/body.h"
#include "mime/shown_text.h"
#include "store/records.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::u16string_view kDamaged =
    u"Quillet notification: this article could not be decoded. Its text is shown as it was "
    u"received.\r\n";

// With the empty line after it.
std::u16string HeaderBlock(const AsciiArticle& article, MessageForm form) {
  const bool raw = form == MessageForm::kRaw;
  const std::string lines = WithFullLineEnds(article.headers.value_or(""));
  std::u16string block;
  const auto append = [&](std::u16string_view name, std::string_view value) {
    block.append(name).append(raw ? RawHeader(value) : ShownHeader(value)).append(u"\r\n");
  };
  const std::string subject = article.subject.value_or("");
  append(u"Subject: ", raw ? subject : JoinedSubject(subject, article.headers.value_or("")));
  append(u"Date: ", article.date.value_or(""));
  append(u"From: ", article.from.value_or(""));
  if (!article.replyTo.value_or("").empty()) append(u"Reply-To: ", *article.replyTo);
  append(u"Message-ID: ", article.messageId.value_or(""));
  block += raw ? RawHeader(lines) : ShownHeaderLines(lines);
  return block += u"\r\n";
}

std::u16string_view MissingBodyText(bool with_headers) {
  // Meant: only the path that joins lines and shows headers speaks of a download. The text is part
  // of what is searched and saved, so it is the same in every version.
  if (with_headers && gPrefs->removecrs != 0 && gPrefs->onlinemode != 0) {
    return u"Quillet notification: downloading body\r\n";
  }
  return u"Quillet notification: body not downloaded.\r\n";
}

DecodedBody BodyOf(const AsciiArticle& article, bool with_headers, MessageForm form) {
  DecodedBody body;
  if (!article.body || article.body->empty()) {
    body.text = MissingBodyText(with_headers);
    return body;
  }
  if (form == MessageForm::kRaw) {
    body.text = RawBody(*article.body);
  } else {
    body = DecodeBody(BodySourceOf(article));
  }
  if (gPrefs->removecrs != 0) RemoveCRs(body.text);
  return body;
}

// Below the text, behind an empty line.
void AppendAttachments(MessageText& message, const std::vector<Attachment>& attachments,
                       std::size_t body_start) {
  if (attachments.empty()) return;
  std::u16string& text = message.text;
  if (text.size() > body_start) {
    if (text.back() != u'\r' && text.back() != u'\n') text += u"\r\n";
    text += u"\r\n";
  }
  for (const Attachment& attachment : attachments) {
    const std::size_t start = text.size();
    text += AttachmentLine(attachment);
    message.links.push_back({start, text.size(), attachment.part});
    text += u"\r\n";
  }
}

MessageText MessageOf(const AsciiArticle& article, bool with_headers, MessageForm form) {
  DecodedBody body = BodyOf(article, with_headers, form);
  MessageText message{std::move(body.text), {}};
  std::size_t body_start = 0;
  if (with_headers) {
    const std::u16string block = HeaderBlock(article, form);
    body_start = block.size();
    message.text.insert(0, block);
  }
  if (article.showFlag != 0) Rot13String(message.text);
  if (body.damaged) message.text.insert(body_start, kDamaged);
  AppendAttachments(message, body.attachments, body_start);
  return message;
}

}  // namespace

std::string WithFullLineEnds(std::string_view lines) {
  std::string text;
  text.reserve(lines.size() + 2);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (lines[i] == '\r' || lines[i] == '\n') {
      text += "\r\n";
      if (lines.substr(i, 2) == "\r\n") ++i;
    } else {
      text += lines[i];
    }
  }
  if (!text.empty() && !EndsWith(text, "\r\n")) text += "\r\n";
  return text;
}

std::optional<MessageText> CreateMessageBody(const AsciiArticle* article, bool with_headers,
                                             MessageForm form) {
  if (article == nullptr) return MessageText();
  // Meant: the location depends on the path. The box that is shown when memory runs out tells by it
  // whether lines were being joined.
  return Guarded(gPrefs->removecrs != 0 ? u"CreateMessageBody" : u"DisplayCurrentArticle",
                 [&] { return std::optional(MessageOf(*article, with_headers, form)); });
}

}  // namespace quillet
