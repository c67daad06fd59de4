// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/html_text.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "mime/harmless.h"
#include "mime/html_tags.h"
#include "mime/text_page.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::size_t kDeepest = 5;  // quotations and lists that are shown as such

enum class Layout {
  kLine,       // on lines of its own
  kParagraph,  // with an empty line around it
  kBreak,
  kRule,
  kItem,
  kList,
  kCell,
  kQuote,
  kPre,
  kLink,
  kImage,
  kHidden,  // with all that it holds
};

struct Element {
  std::u16string_view name;
  Layout layout;
};

// Sorted by name. All others leave their text where it stands.
constexpr std::array kElements = std::to_array<Element>({
    {u"a", Layout::kLink},           {u"address", Layout::kLine}, {u"article", Layout::kParagraph},
    {u"blockquote", Layout::kQuote}, {u"br", Layout::kBreak},     {u"caption", Layout::kLine},
    {u"center", Layout::kLine},      {u"dd", Layout::kLine},      {u"dir", Layout::kList},
    {u"div", Layout::kLine},         {u"dl", Layout::kParagraph}, {u"dt", Layout::kLine},
    {u"fieldset", Layout::kLine},    {u"footer", Layout::kLine},  {u"form", Layout::kLine},
    {u"h1", Layout::kParagraph},     {u"h2", Layout::kParagraph}, {u"h3", Layout::kParagraph},
    {u"h4", Layout::kParagraph},     {u"h5", Layout::kParagraph}, {u"h6", Layout::kParagraph},
    {u"header", Layout::kLine},      {u"hr", Layout::kRule},      {u"iframe", Layout::kHidden},
    {u"img", Layout::kImage},        {u"li", Layout::kItem},      {u"listing", Layout::kPre},
    {u"main", Layout::kLine},        {u"menu", Layout::kList},    {u"ol", Layout::kList},
    {u"option", Layout::kLine},      {u"p", Layout::kParagraph},  {u"pre", Layout::kPre},
    {u"script", Layout::kHidden},    {u"section", Layout::kLine}, {u"style", Layout::kHidden},
    {u"table", Layout::kParagraph},  {u"td", Layout::kCell},      {u"template", Layout::kHidden},
    {u"th", Layout::kCell},          {u"title", Layout::kHidden}, {u"tr", Layout::kLine},
    {u"ul", Layout::kList},          {u"xmp", Layout::kPre},
});
static_assert(std::ranges::is_sorted(kElements, {}, &Element::name));

constexpr std::array<std::u16string_view, 6> kShownSchemes = {u"http://", u"https://", u"ftp://",
                                                              u"mailto:", u"news:",    u"nntp://"};

bool IsSpace(char16_t unit) {
  return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n' || unit == u'\f';
}

std::u16string_view Trimmed(std::u16string_view text) {
  while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
  return text;
}

// An address as a reader would type it, for the comparison with the text of its link.
std::u16string_view Bare(std::u16string_view address) {
  address = Trimmed(address);
  for (const std::u16string_view scheme : kShownSchemes) {
    if (StartsWithNoCase(address, scheme)) {
      address.remove_prefix(scheme.size());
      break;
    }
  }
  while (address.ends_with(u'/')) address.remove_suffix(1);
  return address;
}

class HtmlText {
 public:
  explicit HtmlText(std::u16string_view html) : reader_(html), page_(html.size()) {}

  std::u16string Run() {
    for (HtmlToken token; reader_.Next(token);) {
      if (token.is_tag) {
        Tag(token);
      } else {
        Text(DecodeEntities(token.text));
      }
    }
    EndLink();
    return page_.Take();
  }

 private:
  void Text(std::u16string_view text) {
    if (pre_ > 0) return PreText(text);
    while (!text.empty()) {
      if (IsSpace(text.front())) page_.Space();
      while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
      const auto* end = std::ranges::find_if(text, IsSpace);
      const auto length = static_cast<std::size_t>(end - text.begin());
      std::u16string word(text.substr(0, length));
      std::ranges::replace(word, u'\x00A0', u' ');
      page_.Put(word);
      text.remove_prefix(length);
    }
  }

  void PreText(std::u16string_view text) {
    while (!text.empty()) {
      const std::size_t end = std::min(text.find_first_of(u"\r\n"), text.size());
      page_.Put(text.substr(0, end));
      if (end == text.size()) return;
      page_.NewLine();
      text.remove_prefix(end + (text.substr(end).starts_with(u"\r\n") ? 2 : 1));
    }
  }

  void Tag(const HtmlToken& tag) {
    const auto* element = std::ranges::lower_bound(kElements, tag.name, {}, &Element::name);
    if (element == kElements.end() || element->name != tag.name) return;
    switch (element->layout) {
      case Layout::kLine:
        return page_.EndLine(1);
      case Layout::kParagraph:
        return page_.EndLine(2);
      case Layout::kBreak:
        return pre_ > 0 ? page_.NewLine() : page_.BreakLine();
      case Layout::kRule:
        page_.EndLine(1);
        page_.Put(u"----");
        return page_.EndLine(1);
      case Layout::kHidden:
        if (!tag.closes) reader_.SkipTo(tag.name);
        return;
      case Layout::kImage:
        return Image(tag);
      case Layout::kLink:
        EndLink();
        if (!tag.closes) BeginLink(tag);
        return;
      default:
        return Nesting(element->layout, tag.closes);
    }
  }

  // Lists, tables, quotations and text that is laid out already.
  void Nesting(Layout layout, bool closes) {
    switch (layout) {
      case Layout::kItem:
        return Item(closes);
      case Layout::kList:
        Count(lists_, closes);
        return page_.EndLine(lists_ == (closes ? 0U : 1U) ? 2 : 1);
      case Layout::kCell:
        if (!closes && !page_.AtLineStart()) page_.Space();
        return;
      case Layout::kQuote:
        page_.EndLine(2);
        Count(quotes_, closes);
        return page_.set_quotes(std::min(quotes_, kDeepest));
      case Layout::kPre:
        page_.EndLine(2);
        return Count(pre_, closes);
      default:
        return;
    }
  }

  static void Count(std::size_t& depth, bool closes) {
    if (!closes) ++depth;
    if (closes && depth > 0) --depth;
  }

  void Item(bool closes) {
    page_.EndLine(1);
    if (closes) return;
    const std::size_t indent = std::min(lists_ > 0 ? lists_ - 1 : 0, kDeepest);
    page_.Put(std::u16string(2 * indent, u' ') + u"-");
    page_.Space();
  }

  void Image(const HtmlToken& tag) {
    std::u16string text = HtmlAttribute(tag.text, u"alt");
    MakeOneLine(text, 0);
    if (!Trimmed(text).empty()) page_.Put(u"[" + std::u16string(Trimmed(text)) + u"]");
  }

  void BeginLink(const HtmlToken& tag) {
    std::u16string address(Trimmed(HtmlAttribute(tag.text, u"href")));
    const bool shown = std::ranges::any_of(kShownSchemes, [&](std::u16string_view scheme) {
      return StartsWithNoCase(std::u16string_view(address), scheme);
    });
    if (!shown) return;
    MakeOneLine(address, 0);
    link_ = std::move(address);
    link_start_ = page_.size();
  }

  void EndLink() {
    if (link_.empty()) return;
    const std::u16string_view text = Bare(page_.From(link_start_));
    if (!EqualsNoCase(text, Bare(link_))) {
      const bool space = page_.has_space();
      page_.Space();
      page_.Put(u"<" + link_ + u">");
      if (space) page_.Space();
    }
    link_.clear();
  }

  HtmlReader reader_;
  TextPage page_;
  std::size_t lists_ = 0, quotes_ = 0, pre_ = 0;
  std::u16string link_;  // the address of the open link
  std::size_t link_start_ = 0;
};

}  // namespace

std::u16string HtmlToText(std::u16string_view html) {
  return HtmlText(html).Run();
}

std::string HtmlCharset(std::string_view bytes) {
  std::string_view start = bytes.substr(0, 1024);
  const std::size_t meta = FindNoCase(start, "<meta");
  if (meta == std::string_view::npos) return {};
  start.remove_prefix(meta);
  const std::size_t name = FindNoCase(start, "charset=");
  if (name == std::string_view::npos) return {};
  start.remove_prefix(name + 8);
  start.remove_prefix(std::min(start.find_first_not_of(" \"'"), start.size()));
  return std::string(start.substr(0, start.find_first_of(" \"';/>")));
}

}  // namespace quillet
