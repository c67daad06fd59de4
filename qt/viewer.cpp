// SPDX-License-Identifier: GPL-3.0-or-later
// A text browser that loads nothing and follows nothing: the program is told of links, and scrolls
// by its own calls. The source is gathered and laid out once, at its end, while painting rests for
// a moment so that no empty page flashes up between two articles. A finger scrolls, taps links and
// holds for the menu; the mouse selects.
#include "qt/viewer.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QFontInfo>
#include <QImage>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QScrollBar>
#include <QScroller>
#include <QStyleHints>
#include <QTextBlock>
#include <QTextDocument>
#include <algorithm>
#include <optional>
#include <utility>

#include "qt/text.h"
#include "qt/viewer_text.h"
#include "res/resource.h"

namespace quillet::qt {
namespace {

// Mark-up counts sizes from 1 to 7 around 3. Its 2, the usual size of an article, is eight tenths
// of the page's font and shall be the size of the application's.
constexpr double kPageFont = 1.25;
constexpr int kTabCharacters = 8;
// The old page stays this long: longer than building a new one takes, and not seen as a delay.
constexpr int kFreezeMs = 150;
constexpr int kHighlightPlace = 3;  // a third of the page above the first highlighted place

const QColor kLinkColour(0x00, 0x00, 0xC8);

// White with black text in every palette: the colours of quotes and highlights are made for paper.
QPalette Paper() {
  QPalette palette;
  palette.setColor(QPalette::Base, Qt::white);
  palette.setColor(QPalette::Text, Qt::black);
  palette.setColor(QPalette::WindowText, Qt::white);
  return palette;
}

std::optional<int> FirstHighlight(const QTextDocument& document) {
  for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
    for (auto part = block.begin(); !part.atEnd(); ++part) {
      const QTextFragment fragment = part.fragment();
      if (fragment.charFormat().background().style() != Qt::NoBrush) return fragment.position();
    }
  }
  return std::nullopt;
}

bool AsksForMenu(const QKeyEvent& event) {
  if (event.isAutoRepeat()) return false;
  return (event.key() == Qt::Key_Menu && event.modifiers() == Qt::NoModifier) ||
         (event.key() == Qt::Key_F10 && event.modifiers() == Qt::ShiftModifier);
}

bool IsFinger(const QMouseEvent& event) {
  return event.source() != Qt::MouseEventNotSynthesized;
}

}  // namespace

Viewer::Viewer(std::function<void(const QString& target)> activated, QWidget* parent)
    : QTextBrowser(parent), activated_(std::move(activated)) {
  setAccessibleName(QStringLiteral("Article text"));
  setProperty("controlId", kPaneViewer);
  setOpenLinks(false);
  setOpenExternalLinks(false);
  setUndoRedoEnabled(false);
  // Its line is the page's but while the keyboard is here.
  setFrameStyle(QFrame::Box | QFrame::Plain);
  setPalette(Paper());
  // Links too: the toolkit takes their colour from the palette of the application otherwise.
  document()->setDefaultStyleSheet(QStringLiteral("a { color: %1 }").arg(kLinkColour.name()));
  ApplyFont();
  QScroller::grabGesture(viewport(), QScroller::TouchGesture);
  thaw_.setSingleShot(true);
  connect(&thaw_, &QTimer::timeout, this, [this] { setUpdatesEnabled(true); });
  hold_.setSingleShot(true);
  hold_.setInterval(QGuiApplication::styleHints()->mousePressAndHoldInterval());
  connect(&hold_, &QTimer::timeout, this,
          [this] { ShowMenu(touched_, viewport()->mapToGlobal(touched_)); });
  connect(this, &QTextBrowser::anchorClicked, this, [this] { ActivateLink(released_on_); });
}

void Viewer::ApplyFont() {
  QFont font = QApplication::font();
  const double factor = plain_text_ ? 1.0 : kPageFont;
  font.setPointSizeF(QFontInfo(font).pointSizeF() * factor);
  setFont(font);
  setTabStopDistance(kTabCharacters * fontMetrics().averageCharWidth() / factor);
}

void Viewer::changeEvent(QEvent* event) {
  QTextBrowser::changeEvent(event);
  if (event->type() == QEvent::ApplicationFontChange) ApplyFont();
}

// As tall as it gets, without pages: with them the toolkit lays out one page of eight million
// pixels, and never comes back from the line behind it.
void Viewer::ForgetPages() {
  document()->setPageSize(QSizeF(viewport()->width(), 0));
}

void Viewer::resizeEvent(QResizeEvent* event) {
  QTextBrowser::resizeEvent(event);
  ForgetPages();
}

// Without any picture the toolkit would look for one among the user's files.
QVariant Viewer::loadResource(int type, const QUrl& /*name*/) {
  if (type != QTextDocument::ImageResource) return {};
  QImage nothing(1, 1, QImage::Format_ARGB32);
  nothing.fill(Qt::transparent);
  return nothing;
}

void Viewer::Clear() {
  setUpdatesEnabled(false);
  thaw_.start(kFreezeMs);
  source_.clear();
  plain_text_ = false;
  FocusLink(std::nullopt);
  links_.clear();
  clear();
}

void Viewer::Add(std::u16string_view text, bool plain_text) {
  source_ += ToQt(text);
  plain_text_ = plain_text;
}

void Viewer::End() {
  ApplyFont();
  if (plain_text_) {
    setPlainText(TextPageOf(source_));
  } else {
    setHtml(PageOf(source_));
  }
  links_ = LinksOf(*document());
  ForgetPages();
  verticalScrollBar()->setValue(0);
  if (!plain_text_) ShowFirstHighlight();
  thaw_.stop();
  setUpdatesEnabled(true);
}

void Viewer::ShowFirstHighlight() {
  const std::optional<int> position = FirstHighlight(*document());
  if (!position) return;
  QTextCursor place(document());
  place.setPosition(*position);
  const QRect line = cursorRect(place);
  if (line.bottom() < viewport()->height()) return;
  verticalScrollBar()->setValue(line.top() - viewport()->height() / kHighlightPlace);
}

// The toolkit lays out what is seen, and the rest little by little; its scroll bar hears of that
// later still.
void Viewer::LayOutAll() {
  const int height = document()->size().toSize().height();
  QScrollBar& bar = *verticalScrollBar();
  bar.setMaximum(std::max(bar.maximum(), height - viewport()->height()));
}

bool Viewer::Scroll(port::ScrollStep step) {
  const int before = verticalScrollBar()->value();
  ScrollTo(step);
  return verticalScrollBar()->value() != before;
}

void Viewer::ScrollTo(port::ScrollStep step) {
  QScrollBar& bar = *verticalScrollBar();
  // A line that was cut at the edge is whole on the next page.
  const int page = std::max(bar.pageStep() - fontMetrics().height(), 1);
  switch (step) {
    case port::ScrollStep::kPageUp:
      return bar.setValue(bar.value() - page);
    case port::ScrollStep::kPageDown:
      if (bar.value() + page > bar.maximum()) LayOutAll();  // it may not be the end yet
      return bar.setValue(bar.value() + page);
    case port::ScrollStep::kTop:
      return bar.setValue(bar.minimum());
    case port::ScrollStep::kBottom:
      LayOutAll();
      return bar.setValue(bar.maximum());
  }
}

std::uint32_t Viewer::Place() const {
  if (verticalScrollBar()->value() == 0) return 0;
  // Not at the very edge, where a line may show its last row of pixels.
  return static_cast<std::uint32_t>(cursorForPosition({0, fontMetrics().height() / 4}).position());
}

void Viewer::GoTo(std::uint32_t place) {
  if (place == 0) return verticalScrollBar()->setValue(0);
  LayOutAll();
  QTextCursor cursor(document());
  const auto last = static_cast<std::uint32_t>(document()->characterCount() - 1);
  cursor.setPosition(static_cast<int>(std::min(place, last)));
  verticalScrollBar()->setValue(verticalScrollBar()->value() + cursorRect(cursor).top());
}

void Viewer::CopySelectionOrAll() {
  if (textCursor().hasSelection()) return copy();
  const QTextCursor before = textCursor();
  const int scrolled = verticalScrollBar()->value();
  selectAll();
  copy();
  setTextCursor(before);
  verticalScrollBar()->setValue(scrolled);
}

QMimeData* Viewer::createMimeDataFromSelection() const {
  QMimeData* copied = QTextBrowser::createMimeDataFromSelection();
  if (copied == nullptr) return nullptr;
  copied->setHtml(WithoutBreakMarks(copied->html()));
  copied->setText(WithoutBreakMarks(copied->text()));
  return copied;
}

// --- links by keys -------------------------------------------------------------------------------

const PageLink* Viewer::FocusedLink() const {
  return focused_link_ ? &links_[*focused_link_] : nullptr;
}

QRect Viewer::RectOf(const PageLink& link) const {
  QTextCursor place(document());
  place.setPosition(link.first);
  const QRect first = cursorRect(place);
  place.setPosition(link.end);
  return first.united(cursorRect(place));
}

// Where the reader is, not where the page begins: whoever has scrolled down comes to the links that
// he sees.
std::optional<std::size_t> Viewer::NextLink(bool next) const {
  if (links_.empty()) return std::nullopt;
  if (focused_link_) {
    if (next ? *focused_link_ + 1 >= links_.size() : *focused_link_ == 0) return std::nullopt;
    return next ? *focused_link_ + 1 : *focused_link_ - 1;
  }
  const int bottom = viewport()->height();
  const auto link = std::ranges::partition_point(links_, [&](const PageLink& each) {
    return next ? RectOf(each).bottom() < 0 : RectOf(each).top() < bottom;
  });
  const auto place = static_cast<std::size_t>(link - links_.begin());
  if (next) return link == links_.end() ? std::nullopt : std::optional(place);
  return place == 0 ? std::nullopt : std::optional(place - 1);
}

bool Viewer::focusNextPrevChild(bool next) {
  const std::optional<std::size_t> link = NextLink(next);
  FocusLink(link);
  // The toolkit's own browser would begin at the first link again.
  return link ? true : QTextEdit::focusNextPrevChild(next);
}

// The text cursor goes along: screen readers say the line that it is in.
void Viewer::FocusLink(std::optional<std::size_t> link) {
  focused_link_ = link;
  if (link) {
    const int scrolled = verticalScrollBar()->value();
    QTextCursor cursor(document());
    cursor.setPosition(links_[*link].first);
    setTextCursor(cursor);
    verticalScrollBar()->setValue(scrolled);
    ScrollToLink();
  }
  MarkLink();
}

void Viewer::ScrollToLink() {
  const QRect place = RectOf(links_[*focused_link_]);
  const int line = fontMetrics().height();
  QScrollBar& bar = *verticalScrollBar();
  // Its beginning above all, with the line around it.
  if (place.bottom() + line > viewport()->height()) {
    bar.setValue(bar.value() + std::min(place.bottom() + line - viewport()->height(), place.top()));
  }
  const int top = RectOf(links_[*focused_link_]).top();
  if (top < line) bar.setValue(bar.value() + top - line);
}

// Light on dark, as no article is written; while the viewer has the focus.
void Viewer::MarkLink() {
  if (!focused_link_ || !hasFocus()) return setExtraSelections({});
  ExtraSelection mark;
  mark.cursor = QTextCursor(document());
  mark.cursor.setPosition(links_[*focused_link_].first);
  mark.cursor.setPosition(links_[*focused_link_].end, QTextCursor::KeepAnchor);
  mark.format.setBackground(kLinkColour);
  mark.format.setForeground(Qt::white);
  setExtraSelections({mark});
}

// By Tab the reader comes to the text first; from another window back to the link.
void Viewer::focusInEvent(QFocusEvent* event) {
  QTextBrowser::focusInEvent(event);
  const bool by_tab =
      event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
  if (by_tab) focused_link_.reset();
  MarkLink();
}

void Viewer::focusOutEvent(QFocusEvent* event) {
  QTextBrowser::focusOutEvent(event);
  MarkLink();
}

// --- keys, mouse and fingers ---------------------------------------------------------------------

void Viewer::ActivateLink(const QString& target) {
  if (!target.isEmpty()) activated_(target);
}

// Scrolling by keys is the program's, when they are released.
void Viewer::keyPressEvent(QKeyEvent* event) {
  if (event->matches(QKeySequence::Copy)) return CopySelectionOrAll();
  if (event->matches(QKeySequence::SelectAll)) return selectAll();
  const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if (enter && event->modifiers() == Qt::NoModifier && !event->isAutoRepeat()) {
    if (const PageLink* link = FocusedLink()) ActivateLink(link->target);
    return;
  }
  if (AsksForMenu(*event)) return ShowMenuByKey();
  event->ignore();
}

// A finger scrolls, taps and asks for the menu; selecting is for the mouse.
void Viewer::mousePressEvent(QMouseEvent* event) {
  if (!IsFinger(*event)) return QTextBrowser::mousePressEvent(event);
  touched_ = event->position().toPoint();
  hold_.start();
}

void Viewer::mouseMoveEvent(QMouseEvent* event) {
  if (!IsFinger(*event)) return QTextBrowser::mouseMoveEvent(event);
  if (!IsTap(event->position().toPoint())) hold_.stop();
}

void Viewer::mouseReleaseEvent(QMouseEvent* event) {
  const QPoint place = event->position().toPoint();
  if (IsFinger(*event)) {
    if (hold_.isActive() && IsTap(place)) Tapped(place);
    return hold_.stop();
  }
  // The signal for a link says it as an address, which may be spelled otherwise.
  released_on_ = anchorAt(place);
  focused_link_.reset();
  MarkLink();
  QTextBrowser::mouseReleaseEvent(event);
  released_on_.clear();
}

bool Viewer::IsTap(QPoint place) const {
  return (place - touched_).manhattanLength() < QApplication::startDragDistance();
}

void Viewer::Tapped(QPoint place) {
  QTextCursor cursor = textCursor();
  cursor.clearSelection();
  setTextCursor(cursor);
  ActivateLink(anchorAt(place));
}

std::unique_ptr<QMenu> Viewer::NewMenu(std::optional<QPoint> place) {
  auto menu = std::make_unique<QMenu>(this);
  menu->setAccessibleName(QStringLiteral("Article text"));
  const QString link = place ? anchorAt(*place) : FocusedLink() ? FocusedLink()->target : QString();
  menu->addAction(QStringLiteral("&Copy"), this, &Viewer::CopySelectionOrAll);
  menu->addAction(QStringLiteral("Select &all"), this, &QTextEdit::selectAll);
  QAction* copy_link = menu->addAction(QStringLiteral("Copy &link"), this,
                                       [link] { QApplication::clipboard()->setText(link); });
  // An attachment's target means nothing outside the program.
  copy_link->setEnabled(!link.isEmpty() && !link.startsWith(QLatin1String("attachment:")));
  for (QAction* action : menu->actions()) {
    action->setEnabled(action->isEnabled() && !document()->isEmpty());
  }
  return menu;
}

// Shown without waiting for the choice.
void Viewer::ShowMenu(std::optional<QPoint> place, QPoint screen_place) {
  QMenu* menu = NewMenu(place).release();
  menu->setAttribute(Qt::WA_DeleteOnClose);
  menu->popup(screen_place);
  if (!place) menu->setActiveAction(menu->actions().front());
}

// Below the link that has the focus, else where the text begins.
void Viewer::ShowMenuByKey() {
  const PageLink* link = FocusedLink();
  const QPoint place = link != nullptr ? RectOf(*link).bottomLeft() : QPoint(0, 0);
  ShowMenu(std::nullopt, viewport()->mapToGlobal(place));
}

void Viewer::contextMenuEvent(QContextMenuEvent* event) {
  event->accept();
  // Only some window systems send it, and all send the key as well.
  if (event->reason() == QContextMenuEvent::Keyboard) return;
  ShowMenu(event->pos(), event->globalPos());
}

}  // namespace quillet::qt
