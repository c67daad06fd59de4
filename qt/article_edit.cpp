// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/article_edit.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QLayout>
#include <QMenu>
#include <QMimeData>
#include <QScrollBar>
#include <QScroller>
#include <QTextBlock>
#include <QTextDocumentFragment>
#include <array>
#include <cmath>

#include "qt/edit_lines.h"
#include "qt/icons.h"
#include "res/resource.h"

namespace quillet::qt {
namespace {

struct MenuIcon {
  const char* action;  // the name that the toolkit gives it
  std::uint32_t image;
};

constexpr auto kMenuIcons = std::to_array<MenuIcon>({
    {"edit-undo", kIconUndo},
    {"edit-redo", kIconRedo},
    {"edit-cut", kIconCut},
    {"edit-copy", kIconCopy},
    {"edit-paste", kIconPaste},
    {"edit-delete", kIconDelete},
    {"select-all", kIconSelectAll},
});

void SetIcons(const QMenu& menu) {
  for (QAction* action : menu.actions()) {
    for (const MenuIcon& icon : kMenuIcons) {
      if (action->objectName() != QLatin1String(icon.action)) continue;
      action->setIcon(PaletteIcon(icon.image));
      action->setIconVisibleInMenu(true);
    }
  }
}

constexpr int kLongestWrappedLine = 10000;

// What only comes with mark-up is taken without it.
QString PlainTextOf(const QMimeData& source) {
  if (source.hasText()) return source.text();
  return QTextDocumentFragment::fromHtml(source.html()).toPlainText();
}

}  // namespace

ArticleEdit::ArticleEdit(QWidget* parent)
    : QPlainTextEdit(parent), hold_([this](QPoint place) { ShowMenu(place); }) {
  setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  connect(document(), &QTextDocument::contentsChange, this,
          [this](int place, int /*removed*/, int added) { WrapChanged(place, added); });
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  QScroller::grabGesture(viewport(), QScroller::TouchGesture);
}

// The toolkit looks for a place to break in a long word again and again: a megabyte without a blank
// would take minutes. Before it is laid out.
void ArticleEdit::WrapChanged(int place, int added) {
  if (wordWrapMode() == QTextOption::WrapAnywhere) return;
  QTextBlock line = document()->findBlock(place);
  for (; line.isValid() && line.position() <= place + added; line = line.next()) {
    if (line.length() > kLongestWrappedLine) return setWordWrapMode(QTextOption::WrapAnywhere);
  }
}

// --- pasting -------------------------------------------------------------------------------------

bool ArticleEdit::canInsertFromMimeData(const QMimeData* source) const {
  return source->hasText() || source->hasHtml();
}

void ArticleEdit::insertFromMimeData(const QMimeData* source) {
  QTextCursor cursor = textCursor();
  cursor.insertText(LinesForEdit(PlainTextOf(*source)));
  ensureCursorVisible();
}

// --- keys ----------------------------------------------------------------------------------------

bool ArticleEdit::LeavesByKey(const QKeyEvent& event) {
  const bool back = event.key() == Qt::Key_Backtab;
  const bool control = event.modifiers().testFlag(Qt::ControlModifier);
  if (!back && !(control && event.key() == Qt::Key_Tab)) return false;
  const bool backwards = back || event.modifiers().testFlag(Qt::ShiftModifier);
  // Past the edit's own, which would take the tab for a character.
  return QWidget::focusNextPrevChild(!backwards);  // NOLINT(bugprone-parent-virtual-call)
}

void ArticleEdit::keyPressEvent(QKeyEvent* event) {
  if (LeavesByKey(*event)) return;
  const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  const auto modifiers = event->modifiers() & ~Qt::KeypadModifier;
  if (enter && modifiers == Qt::ControlModifier) return event->ignore();
  if (enter && modifiers == Qt::ShiftModifier) {
    // The toolkit would break the line inside its paragraph.
    QKeyEvent plain(QEvent::KeyPress, event->key(), Qt::NoModifier, event->text());
    return QPlainTextEdit::keyPressEvent(&plain);
  }
  QPlainTextEdit::keyPressEvent(event);
}

// --- menu, fingers -------------------------------------------------------------------------------

void ArticleEdit::ShowMenu(QPoint place) {
  QMenu* menu = createStandardContextMenu();
  menu->setAccessibleName(QStringLiteral("Menu of the text"));
  menu->setAttribute(Qt::WA_DeleteOnClose);
  SetIcons(*menu);
  menu->popup(viewport()->mapToGlobal(place));
}

void ArticleEdit::contextMenuEvent(QContextMenuEvent* event) {
  const bool by_key = event->reason() == QContextMenuEvent::Keyboard;
  ShowMenu(by_key ? cursorRect().bottomLeft() : viewport()->mapFromGlobal(event->globalPos()));
}

void ArticleEdit::mousePressEvent(QMouseEvent* event) {
  hold_.Pressed(*event);
  QPlainTextEdit::mousePressEvent(event);
}

// A finger that moves scrolls; it selects nothing.
void ArticleEdit::mouseMoveEvent(QMouseEvent* event) {
  hold_.Moved(*event);
  if (!ByFinger(*event)) QPlainTextEdit::mouseMoveEvent(event);
}

void ArticleEdit::mouseReleaseEvent(QMouseEvent* event) {
  hold_.Released();
  QPlainTextEdit::mouseReleaseEvent(event);
}

// --- size ----------------------------------------------------------------------------------------

QSize FirstSizeOf(const QWidget& window, QSize room) {
  for (const QPlainTextEdit* edit : window.findChildren<QPlainTextEdit*>()) {
    const int columns = edit->property("firstColumns").toInt();
    const int lines = edit->property("firstLines").toInt();
    if (columns <= 0 || lines <= 0 || window.layout() == nullptr) continue;
    const QFontMetricsF font(edit->font());
    const double around = 2 * (edit->frameWidth() + edit->document()->documentMargin());
    const QSizeF text(columns * font.horizontalAdvance(QLatin1Char('0')) +
                          edit->verticalScrollBar()->sizeHint().width(),
                      lines * font.lineSpacing());
    const QSize box(static_cast<int>(std::ceil(text.width() + around)),
                    static_cast<int>(std::ceil(text.height() + around)));
    const QSize others = window.layout()->totalSizeHint() - edit->sizeHint();
    const QMargins margins = window.layout()->contentsMargins();
    return QSize(box.width() + margins.left() + margins.right(), box.height() + others.height())
        .expandedTo(window.layout()->totalMinimumSize())
        .boundedTo(room);
  }
  return {};
}

}  // namespace quillet::qt
