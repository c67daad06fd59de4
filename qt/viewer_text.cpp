// SPDX-License-Identifier: GPL-3.0-or-later
// One pass from the fragment's beginning to its end. Line ends become plain newlines, so that each
// line is a paragraph of its own and is laid out by itself; very long words get marks where they
// may break; what the toolkit would read as something else is escaped. Output ends at a number of
// rows that the toolkit can still lay out. Any input is taken, and no search goes over the same
// rest twice.
#include "qt/viewer_text.h"

#include <QStringView>
#include <algorithm>
#include <utility>

namespace quillet::qt {
namespace {

constexpr QChar kBreakMark(0x200B);  // a blank without width
constexpr int kLongestWord = 1000;

// The toolkit never comes back from laying out a page of some twenty million pixels. A page stays
// below that in the largest font on the narrowest window, where eight characters fill a row: a line
// end counts as many.
constexpr qsizetype kMostCharacters = 2400000;
constexpr qsizetype kRowCharacters = 8;
constexpr QLatin1String kRestNotShown(
    "\n[The rest of this long article is not shown. Save it to read it.]");
constexpr QLatin1String kRestWithHitNotShown(
    "\n[The rest of this long article is not shown, and what was searched for is only found there. "
    "Save it to read it.]");

// How the fragment opens a hit of a search; text of an article is never written so.
constexpr QLatin1String kHitStart("<span style=\"background: #FFFF00\">");

constexpr QLatin1String kLineEnd("&nbsp;<br>");
constexpr QLatin1String kBreak("<br>");
constexpr QLatin1String kLinkStart("<a href=\"");
// Of the list below the text; no text of an article is ever written so.
constexpr QLatin1String kAttachmentStart("<a href=\"attachment:");
constexpr qsizetype kMostCharactersOfAttachments = 20000;

// Some characters stand for something else inside the toolkit's documents.
QChar Shown(QChar unit) {
  const char16_t code = unit.unicode();
  const bool reserved =
      code == 0 || code == 0xFDD0 || code == 0xFDD1 || code == QChar::ObjectReplacementCharacter;
  return reserved ? QChar(QChar::ReplacementCharacter) : unit;
}

// Appends characters of the text proper, with break marks.
class TextWriter {
 public:
  explicit TextWriter(qsizetype room) { out_.reserve(room); }

  void Character(QChar unit) {
    room_ -= unit == QLatin1Char('\n') ? kRowCharacters : 1;
    const bool blank = unit == QLatin1Char(' ') || unit == QLatin1Char('\n') ||
                       unit == QLatin1Char('\r') || unit == QLatin1Char('\t');
    if (blank) {
      word_ = 0;
    } else if (unit == kBreakMark) {
      // One of the article's own: twice, so that a copy of the text keeps it.
      out_ += kBreakMark;
      word_ = 0;
    } else if (++word_ > kLongestWord && !unit.isLowSurrogate()) {
      out_ += kBreakMark;
      word_ = 1;
    }
    out_ += Shown(unit);
  }
  // One character, written with several.
  void Entity(QStringView entity) {
    Character(entity.front());
    out_ += entity.sliced(1);
  }
  void Markup(QStringView markup) { out_ += markup; }
  bool Full() const { return room_ <= 0; }
  void GiveRoom(qsizetype room) { room_ = room; }
  QString Take() { return std::move(out_); }

 private:
  QString out_;
  int word_ = 0;
  qsizetype room_ = kMostCharacters;
};

// Length of the entity that the text begins with, 0 for a lone ampersand.
qsizetype EntityLength(QStringView text) {
  constexpr qsizetype kLongestEntity = 10;
  for (qsizetype at = 1; at < std::min(text.size(), kLongestEntity); ++at) {
    if (text[at] == QLatin1Char(';')) return at + 1;
    if (!text[at].isLetterOrNumber() && text[at] != QLatin1Char('#')) return 0;
  }
  return 0;
}

class PageWriter {
 public:
  explicit PageWriter(QStringView fragment)
      : all_(fragment), out_(fragment.size() + fragment.size() / 64 + 64) {}

  QString Write() {
    out_.Markup(u"<div style=\"white-space:pre-wrap\">");
    WriteWhileThereIsRoom();
    if (at_ < all_.size()) {
      out_.Markup(QString(OnlyRestHasHits() ? kRestWithHitNotShown : kRestNotShown));
      WriteAttachments();
    }
    out_.Markup(u"</div>");
    return out_.Take();
  }

 private:
  void WriteWhileThereIsRoom() {
    while (at_ < all_.size() && !out_.Full()) WriteNext();
  }
  // They can be saved all the same.
  void WriteAttachments() {
    const qsizetype first = all_.indexOf(kAttachmentStart, at_);
    if (first < 0) return;
    at_ = first;
    out_.GiveRoom(kMostCharactersOfAttachments);
    out_.Markup(u"\n\n");
    WriteWhileThereIsRoom();
  }
  bool OnlyRestHasHits() const {
    return all_.first(at_).indexOf(kHitStart) < 0 && all_.indexOf(kHitStart, at_) >= 0;
  }

  void WriteNext() {
    const QStringView rest = all_.sliced(at_);
    const QChar first = rest.front();
    if (first == QLatin1Char('<')) return WriteTag(rest);
    if (first != QLatin1Char('&')) return WriteCharacter();
    if (rest.startsWith(kLineEnd)) {
      out_.Character(QLatin1Char('\n'));
      at_ += kLineEnd.size();
    } else if (const qsizetype length = EntityLength(rest); length > 0) {
      out_.Entity(rest.first(length));
      at_ += length;
    } else {
      WriteCharacter();
    }
  }
  void WriteCharacter() { out_.Character(all_[at_++]); }

  void WriteTag(QStringView rest) {
    if (rest.startsWith(kBreak)) {
      out_.Character(QLatin1Char('\n'));
      at_ += kBreak.size();
      return;
    }
    const bool name = rest.size() > 1 && (rest[1].isLetter() || rest[1] == QLatin1Char('/'));
    if (!name) return WriteLessThan();
    // Where no tag ends any more none is looked for again: the search would go to the end each
    // time.
    qsizetype end = more_tags_ ? all_.indexOf(QLatin1Char('>'), at_) : -1;
    more_tags_ = end >= 0;
    if (!more_tags_) return WriteLessThan();
    if (rest.startsWith(kLinkStart) && WriteTarget()) end = all_.indexOf(QLatin1Char('>'), at_);
    if (end < 0) end = at_;  // a target with the last of them
    out_.Markup(all_.sliced(at_, end - at_));
    out_.Markup(u">");
    at_ = end + 1;
  }

  void WriteLessThan() {
    out_.Entity(u"&lt;");
    ++at_;
  }

  // The address stands there as it is, not escaped; the toolkit would decode it. False when it has
  // no end.
  bool WriteTarget() {
    const qsizetype target = at_ + kLinkStart.size();
    const qsizetype quote = more_quotes_ ? all_.indexOf(QLatin1Char('"'), target) : -1;
    more_quotes_ = quote >= 0;
    if (!more_quotes_) return false;
    out_.Markup(all_.sliced(at_, kLinkStart.size()));
    for (const QChar unit : all_.sliced(target, quote - target)) {
      if (unit == QLatin1Char('&')) {
        out_.Markup(u"&amp;");
      } else {
        const QChar shown = Shown(unit);
        out_.Markup(QStringView(&shown, 1));
      }
    }
    at_ = quote;
    return true;
  }

  const QStringView all_;
  TextWriter out_;
  qsizetype at_ = 0;
  bool more_tags_ = true;
  bool more_quotes_ = true;
};

}  // namespace

QString PageOf(const QString& fragment) {
  return PageWriter(fragment).Write();
}

QString TextPageOf(const QString& text) {
  TextWriter out(text.size() + text.size() / 64 + 16);
  for (const QChar unit : text) {
    if (out.Full()) {
      out.Markup(QString(kRestNotShown));
      break;
    }
    out.Character(unit);
  }
  return out.Take();
}

QString WithoutBreakMarks(QString text) {
  qsizetype length = 0;
  for (qsizetype at = 0; at < text.size(); ++at) {
    // A mark stays for each two of them.
    const bool single = text[at] == kBreakMark && (++at == text.size() || text[at] != kBreakMark);
    if (single && at == text.size()) break;
    text[length++] = text[at];
  }
  text.truncate(length);
  return text;
}

}  // namespace quillet::qt
