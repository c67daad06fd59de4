// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/accessible_document.h"

#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocument>
#include <algorithm>

#include "qt/one_line.h"
#include "qt/viewer.h"
#include "qt/viewer_text.h"

namespace quillet::qt {
namespace {

class AccessibleLink final : public AccessiblePart {
 public:
  AccessibleLink(const AccessibleDocument& page, int index)
      : AccessiblePart(page.Page()), page_(page), index_(index) {}

  int Index() const { return index_; }

  bool isValid() const override {
    return AccessiblePart::isValid() && static_cast<std::size_t>(index_) < page_.Links().size();
  }
  QAccessible::Role role() const override { return QAccessible::Link; }
  QString text(QAccessible::Text kind) const override;
  QAccessible::State state() const override;
  QRect rect() const override { return isValid() ? page_.PlaceOf(It().start, It().end) : QRect(); }
  QStringList actionNames() const override { return {pressAction(), setFocusAction()}; }
  void doAction(const QString& name) override;

 private:
  const AccessibleDocument::Link& It() const {
    return page_.Links()[static_cast<std::size_t>(index_)];
  }
  bool HasFocus() const;

  const AccessibleDocument& page_;
  const int index_;
};

QString AccessibleLink::text(QAccessible::Text kind) const {
  if (!isValid() || kind != QAccessible::Name) return {};
  return OneLine(WithoutBreakMarks(page_.TextOf(It().start, It().end)));
}

bool AccessibleLink::HasFocus() const {
  const QTextCursor cursor = page_.Page().textCursor();
  return page_.Page().hasFocus() && cursor.hasSelection() &&
         cursor.selectionStart() == It().start && cursor.selectionEnd() == It().end;
}

QAccessible::State AccessibleLink::state() const {
  QAccessible::State state;
  state.invalid = !isValid();
  if (state.invalid) return state;
  const Viewer& page = page_.Page();
  const QRect shown(page.viewport()->mapToGlobal(QPoint(0, 0)), page.viewport()->size());
  state.invisible = !page.isVisible();
  state.disabled = !page.isEnabled();
  state.offscreen = !shown.intersects(rect());
  state.linked = true;
  state.focusable = true;
  state.focused = HasFocus();
  return state;
}

// A copy: what is shown may change by what the program does about it.
void AccessibleLink::doAction(const QString& name) {
  if (!isValid() || !TakesActions(page_.Page())) return;
  const AccessibleDocument::Link link = It();
  Viewer& page = page_.Page();
  page.setFocus();
  QTextCursor cursor(page.document());
  cursor.setPosition(link.start);
  cursor.setPosition(link.end, QTextCursor::KeepAnchor);
  page.setTextCursor(cursor);
  if (name == pressAction()) page.Follow(link.target);
}

}  // namespace

AccessibleDocument::AccessibleDocument(Viewer& viewer)
    : AccessibleOwner(&viewer, QAccessible::Document), viewer_(viewer) {
  QObject::connect(&viewer, &QTextEdit::textChanged, &alive_, [this] {
    known_ = false;
    links_.clear();
    items_.Clear();
  });
}

// A link is in pieces where its format changes within it.
const std::vector<AccessibleDocument::Link>& AccessibleDocument::Links() const {
  if (known_) return links_;
  known_ = true;
  links_.clear();
  const QTextDocument& document = *viewer_.document();
  for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
    for (auto part = block.begin(); !part.atEnd(); ++part) {
      const QTextFragment piece = part.fragment();
      const QString target = piece.charFormat().anchorHref();
      if (target.isEmpty()) continue;
      const int end = piece.position() + piece.length();
      const bool goes_on = !links_.empty() && links_.back().end == piece.position() &&
                           links_.back().target == target;
      if (goes_on) {
        links_.back().end = end;
      } else {
        links_.push_back({piece.position(), end, target});
      }
    }
  }
  return links_;
}

QAccessible::State AccessibleDocument::state() const {
  QAccessible::State state = AccessibleOwner::state();
  state.readOnly = true;
  state.multiLine = true;
  state.selectableText = true;
  return state;
}

int AccessibleDocument::childCount() const {
  return static_cast<int>(Links().size());
}

QAccessibleInterface* AccessibleDocument::child(int index) const {
  if (index < 0 || index >= childCount()) return nullptr;
  return items_.Of(index, [&] { return std::make_unique<AccessibleLink>(*this, index); });
}

QAccessibleInterface* AccessibleDocument::childAt(int x, int y) const {
  const int offset = offsetAtPoint({x, y});
  const auto& links = Links();
  const auto found = std::ranges::find_if(
      links, [offset](const Link& link) { return link.start <= offset && offset < link.end; });
  return found == links.end() ? nullptr : child(static_cast<int>(found - links.begin()));
}

int AccessibleDocument::indexOfChild(const QAccessibleInterface* child) const {
  const auto* link = dynamic_cast<const AccessibleLink*>(child);
  return link != nullptr ? link->Index() : -1;
}

void* AccessibleDocument::interface_cast(QAccessible::InterfaceType type) {
  if (type == QAccessible::TextInterface) return static_cast<QAccessibleTextInterface*>(this);
  return AccessibleOwner::interface_cast(type);
}

// --- the text ------------------------------------------------------------------------------------

int AccessibleDocument::Within(int offset) const {
  return std::clamp(offset, 0, characterCount());
}

QTextCursor AccessibleDocument::CursorFor(int start, int end) const {
  QTextCursor cursor(viewer_.document());
  cursor.setPosition(Within(start));
  cursor.setPosition(Within(end), QTextCursor::KeepAnchor);
  return cursor;
}

// The document ends its paragraphs by characters of its own; each is one unit of the text.
QString AccessibleDocument::TextOf(int start, int end) const {
  QString text = CursorFor(start, end).selectedText();
  text.replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
  text.replace(QChar::LineSeparator, QLatin1Char('\n'));
  text.replace(QChar::Nbsp, QLatin1Char(' '));
  return text;
}

QString AccessibleDocument::text(int start, int end) const {
  return TextOf(start, end < 0 ? characterCount() : end);
}

// Without the end of the last paragraph, which no text has.
int AccessibleDocument::characterCount() const {
  return viewer_.document()->characterCount() - 1;
}

int AccessibleDocument::selectionCount() const {
  return viewer_.textCursor().hasSelection() ? 1 : 0;
}

void AccessibleDocument::selection(int index, int* start, int* end) const {
  const QTextCursor cursor = viewer_.textCursor();
  const bool known = index == 0 && cursor.hasSelection();
  *start = known ? cursor.selectionStart() : 0;
  *end = known ? cursor.selectionEnd() : 0;
}

void AccessibleDocument::addSelection(int start, int end) {
  setSelection(0, start, end);
}

void AccessibleDocument::removeSelection(int index) {
  if (index != 0) return;
  QTextCursor cursor = viewer_.textCursor();
  cursor.clearSelection();
  viewer_.setTextCursor(cursor);
}

void AccessibleDocument::setSelection(int index, int start, int end) {
  if (index == 0) viewer_.setTextCursor(CursorFor(start, end));
}

int AccessibleDocument::cursorPosition() const {
  return viewer_.textCursor().position();
}

void AccessibleDocument::setCursorPosition(int position) {
  viewer_.setTextCursor(CursorFor(position, position));
}

QRect AccessibleDocument::characterRect(int offset) const {
  return PlaceOf(offset, offset + 1);
}

QRect AccessibleDocument::PlaceOf(int start, int end) const {
  const QRect first = viewer_.cursorRect(CursorFor(start, start));
  const QRect last = viewer_.cursorRect(CursorFor(end, end));
  const QRect place = first.united(last);
  return {viewer_.viewport()->mapToGlobal(place.topLeft()), place.size()};
}

int AccessibleDocument::offsetAtPoint(const QPoint& point) const {
  const QPoint place = viewer_.viewport()->mapFromGlobal(point);
  if (!viewer_.viewport()->rect().contains(place)) return -1;
  return viewer_.cursorForPosition(place).position();
}

void AccessibleDocument::scrollToSubstring(int start, int end) {
  QScrollBar& bar = *viewer_.verticalScrollBar();
  const QRect first = viewer_.cursorRect(CursorFor(start, start));
  const QRect last = viewer_.cursorRect(CursorFor(end, end));
  const int height = viewer_.viewport()->height();
  if (last.bottom() > height) bar.setValue(bar.value() + last.bottom() - height);
  if (first.top() < 0) bar.setValue(bar.value() + first.top());
}

// One run: the colours of quotes and hits are all that differs.
QString AccessibleDocument::attributes(int /*offset*/, int* start, int* end) const {
  *start = 0;
  *end = characterCount();
  return {};
}

}  // namespace quillet::qt
