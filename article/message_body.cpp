#include "article/message_body.h"

#include "article/render.h"
#include "base/guarded.h"
#include "base/prefs.h"
#include "mime/shown_text.h"
#include "store/records.h"
#include "util/text.h"

namespace quillet {
namespace {

void AppendField(std::u16string& block, std::u16string_view name,
                 const std::optional<std::string>& value) {
  block.append(name).append(ShownHeader(value.value_or(""))).append(u"\r\n");
}

// With the empty line after it.
std::u16string HeaderBlock(const AsciiArticle& article) {
  std::u16string block;
  AppendField(block, u"Subject: ", article.subject);
  AppendField(block, u"Date: ", article.date);
  AppendField(block, u"From: ", article.from);
  if (!article.replyTo.value_or("").empty()) AppendField(block, u"Reply-To: ", article.replyTo);
  AppendField(block, u"Message-ID: ", article.messageId);
  block += ShownHeaderLines(WithFullLineEnds(article.headers.value_or("")));
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

std::u16string BodyText(const AsciiArticle& article, bool with_headers) {
  if (!article.body || article.body->empty()) return std::u16string(MissingBodyText(with_headers));
  std::u16string body = ShownBody(article.headers.value_or(""), *article.body);
  if (gPrefs->removecrs != 0) RemoveCRs(body);
  return body;
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

std::optional<std::u16string> CreateMessageBody(const AsciiArticle* article, bool with_headers) {
  if (article == nullptr) return std::u16string();
  // Meant: the location depends on the path. The box that is shown when memory runs out tells by it
  // whether lines were being joined.
  return Guarded(gPrefs->removecrs != 0 ? u"CreateMessageBody" : u"DisplayCurrentArticle",
                 [&]() -> std::optional<std::u16string> {
                   std::u16string text = BodyText(*article, with_headers);
                   if (with_headers) text.insert(0, HeaderBlock(*article));
                   if (article->showFlag != 0) Rot13String(text);
                   return text;
                 });
}

}  // namespace quillet
