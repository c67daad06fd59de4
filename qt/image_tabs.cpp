// SPDX-License-Identifier: GPL-3.0-or-later
// A tab bar that paints its images itself, because styles would turn those of side tabs, beside a
// stack of panes. Only what the user chooses is told to the program; its own selections block the
// bar's signal.
#include "qt/image_tabs.h"

#include <QBoxLayout>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QStyleOptionTab>
#include <QStylePainter>

#include "qt/focus_mark.h"
#include "qt/icons.h"
#include "res/resource.h"

namespace quillet::qt {
namespace {

constexpr std::array<std::uint32_t, port::kTabCount> kBitmaps{kBitmapGroupTab, kBitmapThreadTab,
                                                              kBitmapArticleTab};
constexpr std::array<std::uint32_t, port::kTabCount> kSideBitmaps{
    kBitmapGroupSideTab, kBitmapThreadSideTab, kBitmapArticleSideTab};

QTabBar::Shape ShapeOf(port::TabPlacement placement) {
  switch (placement) {
    case port::TabPlacement::kLeft:
      return QTabBar::RoundedWest;
    case port::TabPlacement::kRight:
      return QTabBar::RoundedEast;
    default:
      return QTabBar::RoundedSouth;
  }
}

QBoxLayout::Direction DirectionOf(port::TabPlacement placement) {
  switch (placement) {
    case port::TabPlacement::kLeft:
      return QBoxLayout::RightToLeft;  // the pane is added first, the tabs stand left of it
    case port::TabPlacement::kRight:
      return QBoxLayout::LeftToRight;
    default:
      return QBoxLayout::TopToBottom;
  }
}

}  // namespace

ImageTabBar::ImageTabBar(port::TabPlacement placement, QWidget* parent)
    : QTabBar(parent),
      bitmaps_(placement == port::TabPlacement::kBottom ? kBitmaps : kSideBitmaps) {
  setShape(ShapeOf(placement));
  setExpanding(false);
  setUsesScrollButtons(false);
  setLayoutDirection(Qt::LeftToRight);
  setAccessibleName(QStringLiteral("Views"));
  for (const QString& name :
       {QStringLiteral("Newsgroups"), QStringLiteral("Threads"), QStringLiteral("Article")}) {
    const int tab = addTab(QString());
    setAccessibleTabName(tab, name);
    setTabToolTip(tab, name);
  }
}

QSize ImageTabBar::tabSizeHint(int index) const {
  // Room around the image follows the font, so that a finger hits the tab where texts are large.
  const int room = fontMetrics().height() * 4 / 5;
  return ImageSize(Bitmap(index)) + QSize(room, room);
}

void ImageTabBar::PaintTab(QStylePainter& painter, int tab) {
  QStyleOptionTab option;
  initStyleOption(&option, tab);
  painter.drawControl(QStyle::CE_TabBarTabShape, option);
  const QPixmap image =
      Image(Bitmap(tab), palette().color(QPalette::WindowText), devicePixelRatioF());
  QRect place(QPoint(0, 0), image.deviceIndependentSize().toSize());
  place.moveCenter(tabRect(tab).center());
  painter.drawPixmap(place, image);
  if (hasFocus() && tab == currentIndex()) {
    const QColor colour = FocusColour(palette(), palette().color(QPalette::Window));
    DrawFocusMark(painter, tabRect(tab).adjusted(3, 3, -3, -3), colour);
  }
}

// Painted here because styles turn the icons of side tabs with their texts, and these stand
// upright.
void ImageTabBar::paintEvent(QPaintEvent* /*event*/) {
  QStylePainter painter(this);
  for (int tab = 0; tab < count(); ++tab) {
    if (tab != currentIndex()) PaintTab(painter, tab);
  }
  if (currentIndex() >= 0) PaintTab(painter, currentIndex());  // lies over its neighbours
}

TabControl::TabControl(port::TabPlacement placement,
                       const std::array<QWidget*, port::kTabCount>& panes, Changed changed,
                       QWidget* parent)
    : QWidget(parent),
      bar_(new ImageTabBar(placement, this)),
      stack_(new QStackedWidget(this)),
      changed_(std::move(changed)) {
  setAccessibleName(QStringLiteral("Views of Quillet CE"));
  stack_->setAccessibleName(QStringLiteral("Shown view"));
  for (QWidget* pane : panes) stack_->addWidget(pane);
  auto* layout = new QBoxLayout(DirectionOf(placement), this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(stack_, 1);
  const bool below = placement == port::TabPlacement::kBottom;
  layout->addWidget(bar_, 0, below ? Qt::AlignLeft : Qt::AlignTop);
  connect(bar_, &QTabBar::currentChanged, this, [this](int tab) {
    const int old_tab = selected_;
    if (tab < 0 || tab == old_tab) return;
    ShowPane(tab);
    changed_(old_tab, tab);
  });
}

int TabControl::Selected() const {
  return selected_;
}

QWidget* TabControl::Pane(int tab) const {
  return stack_->widget(tab);
}

void TabControl::Select(int tab) {
  if (tab < 0 || tab >= port::kTabCount) return;
  const QSignalBlocker quiet(bar_);
  bar_->setCurrentIndex(tab);
  ShowPane(tab);
}

void TabControl::ShowPane(int tab) {
  selected_ = tab;
  stack_->setCurrentIndex(tab);
  // Someone who walks through the tabs by keyboard stays on them.
  if (!bar_->hasFocus()) stack_->currentWidget()->setFocus();
}

}  // namespace quillet::qt
