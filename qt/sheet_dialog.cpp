// SPDX-License-Identifier: GPL-3.0-or-later
// The pages are a stack of scroll areas beside a list of their names, on a screen of a phone's
// width below a drop-down list of them. The screen decides when the sheet is made. Turning a page
// is told as two messages, the page left and the page shown, and only once the sheet is visible.
#include "qt/sheet_dialog.h"

#include <QAbstractSpinBox>
#include <QBoxLayout>
#include <QCloseEvent>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QScroller>
#include <QShortcut>
#include <QSignalBlocker>
#include <QSlider>
#include <algorithm>
#include <utility>

#include "qt/fit_screen.h"
#include "qt/main_window.h"
#include "qt/window_style.h"
#include "res/resource.h"

namespace quillet::qt {
namespace {

// Pixels around page and buttons on a phone.
constexpr int kNarrowMargin = 4;

// Higher pages scroll: all pages of a sheet are as high as the highest.
constexpr int kMostLines = 28;

// As large as its page when there is room, up to a height at which a sheet is still one. A
// desktop's is never narrower than its page; on a phone the page is made as narrow as the screen.
class PageArea final : public QScrollArea {
 public:
  PageArea(QWidget& page, bool narrow) : narrow_(narrow) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setFocusPolicy(Qt::NoFocus);
    setAccessibleName(page.accessibleName());
    setWidget(&page);
    QScroller::grabGesture(viewport(), QScroller::TouchGesture);
  }
  QSize sizeHint() const override {
    const QSize whole = widget()->sizeHint() + Around();
    return {whole.width(), std::min(whole.height(), kMostLines * fontMetrics().lineSpacing())};
  }
  QSize minimumSizeHint() const override {
    const QSize least = QScrollArea::minimumSizeHint();
    if (narrow_) return least;
    const int width = widget()->minimumSizeHint().width() + Around().width();
    return {std::max(least.width(), width), least.height()};
  }

 protected:
  void resizeEvent(QResizeEvent* event) override {
    if (narrow_) FitWidth(*widget(), viewport()->width());
    QScrollArea::resizeEvent(event);
  }
  // A page that has got longer texts is wider: the sheet has to know.
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (event->type() == QEvent::LayoutRequest && watched == widget()) updateGeometry();
    return QScrollArea::eventFilter(watched, event);
  }

 private:
  QSize Around() const {
    const int frame = 2 * frameWidth();
    return {frame + verticalScrollBar()->sizeHint().width(), frame};
  }

  const bool narrow_;
};

// Only where there are margins at all: inside a window, a page or a group.
void SetNarrow(QLayout& layout) {
  if (layout.parentWidget() == nullptr || layout.parentWidget()->layout() != &layout) return;
  layout.setContentsMargins(kNarrowMargin, kNarrowMargin, kNarrowMargin, kNarrowMargin);
}

QPushButton* NewButton(const QString& text) {
  auto* button = new QPushButton(text);
  button->setAccessibleName(text);
  auto* style = new WindowStyle;
  style->setParent(button);
  button->setStyle(style);
  return button;
}

}  // namespace

SheetDialog::SheetDialog(const QString& title, const std::vector<Page>& pages, QWidget* owner,
                         Tell tell)
    : QDialog(owner),
      tell_(std::move(tell)),
      narrow_(FillsScreen(this)),
      stack_(new QStackedWidget) {
  setWindowTitle(title);
  setAccessibleName(title);
  setWindowModality(owner != nullptr ? Qt::WindowModal : Qt::ApplicationModal);
  auto* layout = new QVBoxLayout(this);
  if (narrow_) SetNarrow(*layout);
  auto* middle = new QBoxLayout(narrow_ ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
  layout->addLayout(middle, 1);
  middle->addWidget(NewPageChooser());
  middle->addWidget(stack_, 1);
  for (const Page& page : pages) AddPage(page);
  AddButtons(*layout);  // last: Tab comes there behind the pages
  if (names_ != nullptr) {
    names_->setCurrentRow(0);
    names_->setFixedWidth(names_->sizeHintForColumn(0) + 2 * names_->frameWidth() +
                          names_->verticalScrollBar()->sizeHint().width());
  }
  BindKeys();
}

QWidget* SheetDialog::NewPageChooser() {
  if (narrow_) {
    short_names_ = new QComboBox;
    short_names_->setAccessibleName(QStringLiteral("Page"));
    connect(short_names_, &QComboBox::activated, this, &SheetDialog::ShowPage);
    return short_names_;
  }
  names_ = new PageNames;
  names_->setAccessibleName(QStringLiteral("Pages"));
  auto* style = new WindowStyle;
  style->setParent(names_);
  names_->setStyle(style);
  connect(names_, &QListWidget::currentRowChanged, this, [this](int page) {
    if (stack_->count() > 0) ShowPage(page);
  });
  return names_;
}

void SheetDialog::AddButtons(QLayout& below) {
  auto* row = new QWidget;
  row->setAccessibleName(QStringLiteral("Buttons"));
  auto* layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  QPushButton* ok = NewButton(QStringLiteral("OK"));
  QPushButton* cancel = NewButton(QStringLiteral("Cancel"));
  layout->addStretch(1);
  layout->addWidget(ok);
  layout->addWidget(cancel);
  connect(ok, &QPushButton::clicked, this, &SheetDialog::accept);
  connect(cancel, &QPushButton::clicked, this, &SheetDialog::reject);
  below.addWidget(row);
  ok->setDefault(true);  // only a button that is the dialog's by now stays the default
}

void SheetDialog::AddPage(const Page& page) {
  page.widget->setAccessibleName(page.caption);
  if (narrow_) {
    for (QLayout* layout : page.widget->findChildren<QLayout*>()) SetNarrow(*layout);
  }
  KeepFromWheel(*page.widget);
  stack_->setAccessibleName(QStringLiteral("Shown page"));
  stack_->addWidget(new PageArea(*page.widget, narrow_));
  if (names_ != nullptr) names_->addItem(page.caption);
  if (short_names_ != nullptr) short_names_->addItem(page.caption);
}

// Whoever turns the wheel to scroll the page must not change a setting that comes below the pointer
// on the way: what a wheel would change heeds it with the focus alone.
void SheetDialog::KeepFromWheel(QWidget& page) {
  for (QWidget* widget : page.findChildren<QWidget*>()) {
    const bool turns = qobject_cast<QComboBox*>(widget) != nullptr ||
                       qobject_cast<QSlider*>(widget) != nullptr ||
                       qobject_cast<QAbstractSpinBox*>(widget) != nullptr;
    if (!turns) continue;
    widget->setFocusPolicy(Qt::StrongFocus);
    widget->installEventFilter(this);
  }
}

bool SheetDialog::eventFilter(QObject* watched, QEvent* event) {
  const auto* widget = qobject_cast<QWidget*>(watched);
  if (event->type() != QEvent::Wheel || widget == nullptr || widget->hasFocus()) {
    return QDialog::eventFilter(watched, event);
  }
  event->ignore();  // the page scrolls
  return true;
}

void SheetDialog::BindKeys() {
  const std::initializer_list<std::pair<QKeySequence, int>> keys = {
      {QKeySequence(Qt::CTRL | Qt::Key_Tab), 1},
      {QKeySequence(Qt::CTRL | Qt::Key_PageDown), 1},
      {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Backtab), -1},
      {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Tab), -1},
      {QKeySequence(Qt::CTRL | Qt::Key_PageUp), -1}};
  for (const auto& [key, by] : keys) {
    connect(new QShortcut(key, this), &QShortcut::activated, this, [this, by = by] { Step(by); });
  }
}

// From the last page to the first and back.
void SheetDialog::Step(int by) {
  const int count = stack_->count();
  const bool in_page = stack_->isAncestorOf(focusWidget());
  ShowPage((stack_->currentIndex() + by + count) % count);
  if (in_page) FocusPage();
}

// The first control of the page that takes the focus by Tab.
void SheetDialog::FocusPage() {
  const QWidget* page = stack_->currentWidget();
  for (QWidget* widget : page->findChildren<QWidget*>()) {
    const bool takes_it = widget->focusPolicy() & Qt::TabFocus;
    if (!takes_it || !widget->isEnabled() || !widget->isVisibleTo(page)) continue;
    widget->setFocus(Qt::TabFocusReason);
    return;
  }
}

void SheetDialog::ShowPage(int page) {
  const int before = stack_->currentIndex();
  if (page < 0 || page >= stack_->count() || page == before) return;
  stack_->setCurrentIndex(page);
  if (names_ != nullptr) {
    const QSignalBlocker quiet(names_);
    names_->setCurrentRow(page);
  }
  if (short_names_ != nullptr) short_names_->setCurrentIndex(page);
  if (!shown_) return;
  TellPage(port::MessageKind::kPageLeft, before);
  TellPage(port::MessageKind::kPageShown, page);
}

bool SheetDialog::ShowPageNamed(const QString& caption) {
  for (int page = 0; page < stack_->count(); ++page) {
    if (stack_->widget(page)->accessibleName() != caption) continue;
    ShowPage(page);
    return true;
  }
  return false;
}

void SheetDialog::setVisible(bool visible) {
  const bool first = visible && !std::exchange(shown_, shown_ || visible);
  if (first) {
    const QSize work = WorkAreaOf(this).size();
    resize(narrow_ ? work : sizeHint().boundedTo(work));
    if (narrow_) setWindowState(windowState() | Qt::WindowMaximized);
  }
  QDialog::setVisible(visible);
  if (first) TellPage(port::MessageKind::kPageShown, stack_->currentIndex());
}

void SheetDialog::showEvent(QShowEvent* event) {
  QDialog::showEvent(event);
  if (!event->spontaneous()) PlaceOver(*this, parentWidget());
}

void SheetDialog::closeEvent(QCloseEvent* event) {
  event->ignore();
  reject();
}

void SheetDialog::TellCommand(bool ok) const {
  tell_({0, port::MessageKind::kCommand, ok ? kControlOk : kControlCancel, 0, {}});
}

void SheetDialog::TellPage(port::MessageKind kind, int page) const {
  tell_({0, kind, static_cast<std::uint32_t>(page), 0, {}});
}

}  // namespace quillet::qt
