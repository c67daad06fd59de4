// The wording comes from the preferences as it stands, line ends included: a signature or extra
// header lines that lack one are the user's own.
#include "post/compose.h"

#include <algorithm>

#include "base/guarded.h"
#include "base/prefs.h"
#include "mime/shown_text.h"
#include "nntp/headers.h"
#include "post/article_text.h"
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

bool HasRe(std::string_view subject) {
  return StartsWithNoCase(subject, "re:");
}

// What stands for a code of the attribution; nothing for one that is unknown.
std::string_view ValueOfCode(const AsciiArticle& article, char16_t code) {
  if (code == u'i') return TextOf(article.messageId);
  if (code == u'a') return TextOf(article.from);
  if (code == u'd') return TextOf(article.date);
  if (code == u'r') return TextOf(article.replyTo);
  return {};
}

// All that replies and forwards have in common.
std::unique_ptr<PostInfo> ComposeAnswer(const AsciiArticle& article, std::u16string_view group) {
  auto info = NewPostInfo();
  if (!info) return nullptr;
  info->reply = ReplyFlag::kReply;
  info->subject = MakeReLine(TextOf(article.subject));
  if (info->subject.empty()) return nullptr;
  info->text = CreateReplyText(article, group, gPrefs->simplepost == 0);
  return info;
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
  text += FormatWide(u"Subject: %ls%ls", MakeReLine(TextOf(article.subject)), kCrLf);
  const auto newsgroups = GetHeaderValueWide("Newsgroups:", TextOf(article.headers));
  text += FormatWide(u"Newsgroups: %ls%ls", newsgroups.value_or(OneLine(group)), kCrLf);
  // Meant: no line end is added here, unlike in a new article.
  return text.append(gPrefs->extraheaders).append(kBodySeparator);
}

std::u16string CreateReplyText(const AsciiArticle& article, std::u16string_view group,
                               bool with_header) {
  std::u16string text = with_header ? CreateReplyHeader(article, group) : std::u16string();
  text += ExpandAttribution(article);
  text += QuoteBody(TextOf(article.body));
  return text.append(kCrLf).append(gPrefs->signature);
}

std::u16string ExpandAttribution(const AsciiArticle& article) {
  const std::u16string_view wording = gPrefs->attribution;
  std::u16string text;
  // The limit is looked at before each unit of the wording: one expansion may go beyond it, and is
  // then the last one.
  for (std::size_t i = 0; i < wording.size() && text.size() < kAttributionLimit; ++i) {
    if (wording[i] != u'$') {
      text += wording[i];
    } else if (++i < wording.size()) {
      // Meant: an unknown code vanishes, a second "$" too.
      text += QuotedUnits(ValueOfCode(article, wording[i]));
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

std::u16string MakeReLine(std::string_view subject) {
  return Guarded(u"MakeReLine", [&] {
    const std::u16string shown = ShownHeader(subject);
    return HasRe(subject) ? shown : u"Re: " + shown;
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
  return ShownHeader(value.substr(0, kLongestAddress));
}

std::u16string ReferencesOfReply(const AsciiArticle& article) {
  std::u16string references = StoredReferences(article);
  const std::u16string id = ShownHeader(TextOf(article.messageId));
  if (!references.empty() && !id.empty()) references += u' ';
  return references.append(id);
}

std::u16string PostToEditText(const AsciiArticle& post) {
  std::u16string text;
  std::string_view headers = TextOf(post.headers);
  while (!headers.empty()) {
    const std::string_view line = headers.substr(0, headers.find('\n'));
    headers.remove_prefix(std::min(line.size() + 1, headers.size()));
    if (line.empty() || StartsWith(line, kReferences)) continue;
    text.append(ShownHeaderLines(line)).push_back(u'\n');
  }
  text += kBodySeparator;
  return text.append(ShownBody(TextOf(post.headers), TextOf(post.body)));
}

std::unique_ptr<PostInfo> ComposeNewArticle(std::u16string_view newsgroups) {
  auto info = NewPostInfo();
  if (!info) return nullptr;
  info->newsgroups = OneLine(newsgroups);
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
  info->newsgroups = ShownHeader(FindHeaderLine("Newsgroups:", headers).value);
  info->references = ShownHeader(FindHeaderLine(kReferences, headers).value);
  info->subject = ShownHeader(TextOf(post.subject));
  info->text =
      gPrefs->simplepost != 0 ? ShownBody(headers, TextOf(post.body)) : PostToEditText(post);
  return info;
}

}  // namespace quillet
