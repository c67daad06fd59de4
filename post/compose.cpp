// SPDX-License-Identifier: GPL-3.0-or-later
// The wording comes from the preferences as it stands, line ends included: a signature or extra
// header lines that lack one are the user's own.
#include "post/compose.h"

#include <algorithm>

#include "base/extensions.h"
#include "base/guarded.h"
#include "base/prefs.h"
#include "mime/body.h"
#include "mime/shown_text.h"
#include "nntp/headers.h"
#include "post/article_text.h"
#include "post/encode_article.h"
#include "post/quote.h"
#include "store/article_source.h"
#include "util/ascii.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::u16string_view kCrLf = u"\r\n";
constexpr std::string_view kReferences = "References:";
constexpr std::size_t kAttributionLimit = 1024;
constexpr std::size_t kLongestAddress = 1023;

std::string_view TextOf(const std::optional<std::string>& text) {
  return text ? UntilNul(*text) : std::string_view();
}

// Texts are taken as they are shown; else byte for byte, as code page 1252 has them.
bool WritesEveryLanguage() {
  return ReadExtensions().postcharsets != 0;
}

// The value of a header. What was decoded brings no header lines of its own.
std::u16string HeaderText(std::string_view stored) {
  return WritesEveryLanguage() ? OneLine(ShownHeader(stored)) : RawBody(stored);
}

bool HasRe(std::u16string_view subject) {
  return StartsWithNoCase(subject, u"re:");
}

// What stands for a code of the attribution; nothing for one that is unknown.
std::string_view ValueOfCode(const AsciiArticle& article, char16_t code) {
  if (code == u'i') return TextOf(article.messageId);
  if (code == u'a') return TextOf(article.from);
  if (code == u'd') return TextOf(article.date);
  if (code == u'r') return TextOf(article.replyTo);
  return {};
}

std::u16string ReplySubject(const AsciiArticle& article) {
  return MakeReLine(TextOf(article.subject), TextOf(article.headers));
}

std::u16string QuotedBody(const AsciiArticle& article) {
  if (!WritesEveryLanguage()) return QuoteBody(TextOf(article.body));
  const bool stuffed = HasDoubledDots(TextOf(article.source));
  DecodedBody body = DecodeBody(
      {.head = TextOf(article.headers), .body = TextOf(article.body), .stuffed = stuffed});
  // Decoded lines all end. Behind a last one that is stored without an end none is added here, as
  // none is for other articles.
  if (!TextOf(article.body).ends_with('\n') && body.text.ends_with(kCrLf)) {
    body.text.resize(body.text.size() - kCrLf.size());
  }
  const std::u16string& mark = gPrefs->quotestring;
  return body.flowed ? QuoteParagraphs(body.text, mark) : QuoteLines(body.text, mark);
}

// All that replies and forwards have in common.
std::unique_ptr<PostInfo> ComposeAnswer(const AsciiArticle& article, std::u16string_view group) {
  auto info = NewPostInfo();
  if (!info) return nullptr;
  info->reply = ReplyFlag::kReply;
  info->characters = WritesEveryLanguage();
  info->subject = ReplySubject(article);
  if (info->subject.empty()) return nullptr;
  info->text = CreateReplyText(article, group, gPrefs->simplepost == 0);
  return info;
}

std::u16string BodyToEdit(const AsciiArticle& post) {
  const std::string_view body = TextOf(post.body);
  return WritesEveryLanguage() ? WrittenBody(TextOf(post.headers), body) : RawBody(body);
}

bool IsShownAscii(const AsciiArticle& post, std::u16string_view body) {
  return IsAscii(body) && IsAscii(ShownHeaderLines(TextOf(post.headers)));
}

std::u16string StoredReferences(const AsciiArticle& article) {
  return GetHeaderValueWide(kReferences, TextOf(article.headers)).value_or(u"");
}

}  // namespace

std::u16string FromLine() {
  return FormatWide(u"From: \"%ls\" <%ls>%ls", gPrefs->fullname, gPrefs->returnmailaddress, kCrLf);
}

std::u16string CreateBlankHeader(std::u16string_view newsgroups) {
  return Guarded(u"CreateBlankHeader", [&] {
    std::u16string text = FromLine();
    text.append(u"Subject: ").append(kCrLf);
    text.append(u"Newsgroups: ").append(newsgroups).append(kCrLf);
    text += gPrefs->extraheaders;
    // Meant: without extra headers this is an empty line before the separator, as it always was.
    if (!EndsWith(gPrefs->extraheaders, kCrLf)) text += kCrLf;
    text += kBodySeparator;
    if (!gPrefs->signature.empty()) text.append(gPrefs->signature).append(kCrLf);
    return text;
  });
}

std::u16string CreateReplyHeader(const AsciiArticle& article, std::u16string_view group) {
  std::u16string text = FromLine();
  text += FormatWide(u"Subject: %ls%ls", ReplySubject(article), kCrLf);
  const auto newsgroups = GetHeaderValueWide("Newsgroups:", TextOf(article.headers));
  text += FormatWide(u"Newsgroups: %ls%ls", newsgroups.value_or(OneLine(group)), kCrLf);
  // Meant: no line end is added here, unlike in a new article.
  return text.append(gPrefs->extraheaders).append(kBodySeparator);
}

std::u16string CreateReplyText(const AsciiArticle& article, std::u16string_view group,
                               bool with_header) {
  std::u16string text = with_header ? CreateReplyHeader(article, group) : std::u16string();
  text += ExpandAttribution(article);
  text += QuotedBody(article);
  return text.append(kCrLf).append(gPrefs->signature);
}

std::u16string ExpandAttribution(const AsciiArticle& article) {
  const std::u16string_view wording = gPrefs->attribution;
  const bool every_language = WritesEveryLanguage();
  std::u16string text;
  // The limit is looked at before each unit of the wording: one expansion may go beyond it, and is
  // then the last one.
  for (std::size_t i = 0; i < wording.size() && text.size() < kAttributionLimit; ++i) {
    if (wording[i] != u'$') {
      text += wording[i];
    } else if (++i < wording.size()) {
      // Meant: an unknown code vanishes, a second "$" too.
      const std::string_view value = ValueOfCode(article, wording[i]);
      text += every_language ? OneLine(ShownHeader(value)) : QuotedUnits(value);
    }
  }
  return text.append(kCrLf);
}

std::u16string QuoteBody(std::string_view body) {
  if (body.empty()) return {};
  const std::u16string& mark = gPrefs->quotestring;
  const auto lines = static_cast<std::size_t>(std::ranges::count(body, '\n')) + 1;
  std::u16string text;
  text.reserve(body.size() + mark.size() * lines);
  while (!body.empty()) {
    const std::size_t length = std::min(body.find('\n'), body.size() - 1) + 1;
    text.append(mark).append(QuotedUnits(body.substr(0, length)));
    body.remove_prefix(length);
  }
  return text;
}

std::u16string MakeReLine(std::string_view subject, std::string_view kept_headers) {
  return Guarded(u"MakeReLine", [&] {
    const std::u16string shown =
        WritesEveryLanguage() ? HeaderText(JoinedSubject(subject, kept_headers)) : RawBody(subject);
    return HasRe(shown) ? shown : u"Re: " + shown;
  });
}

std::u16string ExtractAddress(std::string_view value) {
  const std::size_t first = value.find_first_of("<@");
  if (first != std::string_view::npos && value[first] == '<') {
    value.remove_prefix(first + 1);
    value = value.substr(0, value.find('>'));
  } else {
    value = value.substr(0, value.find(' '));
  }
  return HeaderText(value.substr(0, kLongestAddress));
}

std::u16string ReferencesOfReply(const AsciiArticle& article) {
  std::u16string references = StoredReferences(article);
  const std::u16string id = RawBody(TextOf(article.messageId));
  if (!references.empty() && !id.empty()) references += u' ';
  return references.append(id);
}

std::u16string PostToEditText(const AsciiArticle& post) {
  const bool every_language = WritesEveryLanguage();
  const std::u16string body = BodyToEdit(post);
  // Only such an article has got lines of ours. They are made anew when it is stored.
  const bool has_added_lines = every_language && !IsShownAscii(post, body);
  std::u16string text;
  std::string_view headers = TextOf(post.headers);
  while (!headers.empty()) {
    std::string_view line = headers.substr(0, headers.find('\n'));
    headers.remove_prefix(std::min(line.size() + 1, headers.size()));
    if (line.empty() || StartsWith(line, kReferences)) continue;
    const std::string_view end = line.ends_with('\r') ? "\r" : "";
    line.remove_suffix(end.size());
    if (has_added_lines && IsAddedMimeLine(line)) continue;
    text += every_language ? OneLine(ShownHeaderLines(line)) : RawBody(line);
    text.append(RawBody(end)).push_back(u'\n');
  }
  return text.append(kBodySeparator).append(body);
}

std::unique_ptr<PostInfo> ComposeNewArticle(std::u16string_view newsgroups) {
  auto info = NewPostInfo();
  if (!info) return nullptr;
  info->newsgroups = OneLine(newsgroups);
  info->characters = WritesEveryLanguage();
  info->text = gPrefs->simplepost != 0 ? gPrefs->signature : CreateBlankHeader(info->newsgroups);
  if (gPrefs->simplepost == 0 && info->text.empty()) return nullptr;
  return info;
}

std::unique_ptr<PostInfo> ComposeReply(const AsciiArticle& article, std::u16string_view group) {
  auto info = ComposeAnswer(article, group);
  if (!info) return nullptr;
  info->references = ReferencesOfReply(article);
  info->newsgroups = OneLine(group);
  return info;
}

std::unique_ptr<PostInfo> ComposeForward(const AsciiArticle& article, std::u16string_view group) {
  auto info = ComposeAnswer(article, group);
  if (!info) return nullptr;
  info->mode = RouteMode::kForward;
  info->references = StoredReferences(article);
  const std::string_view reply_to = TextOf(article.replyTo);
  info->recipients = ExtractAddress(reply_to.empty() ? TextOf(article.from) : reply_to);
  return info;
}

std::unique_ptr<PostInfo> ComposeQueuedPost(const AsciiArticle& post) {
  auto info = NewPostInfo();
  if (!info) return nullptr;
  info->key = TextOf(post.messageId);
  info->reply = ReplyFlag::kQueued;
  const std::string_view headers = TextOf(post.headers);
  info->newsgroups = RawBody(FindHeaderLine("Newsgroups:", headers).value);
  info->references = RawBody(FindHeaderLine(kReferences, headers).value);
  info->subject = HeaderText(TextOf(post.subject));
  info->characters = WritesEveryLanguage();
  info->text = gPrefs->simplepost != 0 ? BodyToEdit(post) : PostToEditText(post);
  return info;
}

}  // namespace quillet
