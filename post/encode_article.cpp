// SPDX-License-Identifier: GPL-3.0-or-later
#include "post/encode_article.h"

#include <algorithm>
#include <array>

#include "mime/body.h"
#include "mime/encode_text.h"
#include "post/article_text.h"
#include "post/encode_head.h"
#include "util/ascii.h"
#include "util/blanks.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::u16string_view kNotInCharset =
    u"The article cannot be written in the character set '%ls', which its header 'Content-Type:' "
    u"names. Please name UTF-8 there, or remove that header.";

constexpr std::u16string_view kPacked =
    u"The article is not plain ASCII, but its header 'Content-Transfer-Encoding: %ls' says that it "
    u"is packed. Please remove that header.";

constexpr std::string_view kCrLf = "\r\n";
constexpr std::string_view kUtf8 = "UTF-8";

struct MimeLine {
  std::string_view name;
  std::string_view line;
};
constexpr std::array<MimeLine, 3> kMimeLines = {{
    {"MIME-Version:", "MIME-Version: 1.0"},
    {"Content-Type:", "Content-Type: text/plain; charset=UTF-8"},
    {"Content-Transfer-Encoding:", "Content-Transfer-Encoding: 8bit"},
}};

// What the program sends stands as it was written; such a field would make readers unpack it.
bool SaysThatItIsPacked(std::u16string_view transfer) {
  return EqualsNoCase(transfer, u"base64") || EqualsNoCase(transfer, u"quoted-printable");
}

void AddMimeLines(std::string& headers) {
  for (const MimeLine& mime : kMimeLines) {
    if (FindHeaderLine(mime.name, headers).at != headers.npos) continue;
    headers.append(mime.line).append(kCrLf);
  }
}

}  // namespace

std::u16string AsciiReferences(std::u16string_view references) {
  if (IsAscii(references)) return std::u16string(references);
  std::u16string words;
  while (!references.empty()) {
    const std::size_t end = std::min(references.find(u' '), references.size());
    const std::u16string_view word = references.substr(0, end);
    if (!word.empty() && IsAscii(word)) words.append(words.empty() ? u"" : u" ").append(word);
    references.remove_prefix(std::min(end + 1, references.size()));
  }
  return words;
}

std::variant<CheckedArticle, ArticleFault> EncodeArticle(std::u16string_view head,
                                                         std::u16string_view references,
                                                         std::u16string_view body) {
  auto encoded = EncodeHead(head);
  if (auto* fault = std::get_if<ArticleFault>(&encoded)) return std::move(*fault);
  CheckedArticle article;
  article.headers = std::get<std::string>(std::move(encoded));
  article.subject = FindHeaderLine("Subject:", article.headers).value;
  if (!references.empty()) {
    article.headers.append("References: ").append(ToArticleText(references)).append(kCrLf);
  }
  const std::string charset = CharsetOfHead(article.headers);
  auto bytes = EncodeText(body, charset.empty() ? kUtf8 : charset);
  if (!bytes) {
    const std::size_t at = FindHeaderLine(u"Content-Type:", head).at;
    return ArticleFault{FormatWide(kNotInCharset, charset), std::min(at, head.size())};
  }
  article.body = *std::move(bytes);
  const auto transfer = FindHeaderLine(u"Content-Transfer-Encoding:", head);
  if (!IsAscii(article.body) && SaysThatItIsPacked(Trimmed(transfer.value))) {
    return ArticleFault{FormatWide(kPacked, Trimmed(transfer.value)), transfer.at};
  }
  AddMimeLines(article.headers);
  return article;
}

bool IsAddedMimeLine(std::string_view line) {
  return std::ranges::any_of(kMimeLines, [&](const MimeLine& mime) { return line == mime.line; });
}

std::u16string WrittenBody(std::string_view headers, std::string_view body) {
  const std::string charset = CharsetOfHead(headers);
  if (auto text = DecodeText(body, charset)) return *std::move(text);
  if (auto text = DecodeText(body, kUtf8)) return *std::move(text);
  return RawBody(body);
}

}  // namespace quillet
