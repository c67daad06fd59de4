// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/article_pane.h"

#include <QAccessible>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QScrollBar>
#include <QVBoxLayout>
#include <utility>

#include "qt/icons.h"
#include "qt/key_button.h"
#include "qt/text.h"
#include "qt/wrapped_text.h"

namespace quillet::qt {
namespace {

constexpr int kLeastButtonWidth = 16;
constexpr int kButtonWidth = 44;  // wide enough for a finger
constexpr int kIconSize = 16;

class ToolbarButton final : public KeyButton {
 public:
  using KeyButton::KeyButton;
  QSize sizeHint() const override { return {kButtonWidth, kIconSize}; }
  QSize minimumSizeHint() const override { return {kLeastButtonWidth, kIconSize}; }
};

QWidget* NewSeparator(QWidget* parent) {
  auto* line = new QFrame(parent);
  line->setFrameStyle(QFrame::VLine | QFrame::Sunken);
  line->setAccessibleName(QStringLiteral("Separator"));
  return line;
}

QWidget* NewButton(const port::ToolbarButton& entry,
                   const std::function<void(std::uint32_t command)>& handler, QWidget* parent) {
  auto* button = new ToolbarButton(parent);
  button->setAutoRaise(true);
  button->setIcon(ToolbarIcon(entry.image));
  button->setIconSize({kIconSize, kIconSize});
  button->setToolTip(ToQt(entry.tooltip));
  button->setAccessibleName(ToQt(entry.tooltip));
  button->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Ignored);
  button->setMaximumWidth(kButtonWidth);
  button->setProperty("commandId", entry.command);
  QObject::connect(button, &QToolButton::clicked, parent,
                   [handler, command = entry.command] { handler(command); });
  return button;
}

QLabel* NewNotice(QWidget* parent) {
  auto* notice = new ElidedText(parent);
  notice->setAccessibleName(QStringLiteral("Notice"));
  notice->setAlignment(Qt::AlignCenter);
  notice->setContentsMargins(4, 2, 4, 2);
  notice->setBackgroundRole(QPalette::Window);
  notice->setAutoFillBackground(true);
  notice->hide();
  return notice;
}

}  // namespace

ArticlePane::ArticlePane(Post post) : post_(std::move(post)) {
  setAccessibleName(QStringLiteral("Article"));
  setFocusPolicy(Qt::StrongFocus);
  setBackgroundRole(QPalette::Base);
  setAutoFillBackground(true);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
}

void ArticlePane::CreatePanes(std::u16string_view header_font_face, int header_font_pixels) {
  const bool focused = viewer_ && viewer_->hasFocus();
  delete header_;
  delete viewer_;
  delete notice_;
  header_ = new HeaderBar(
      header_font_face, header_font_pixels, [this] { post_(port::MessageKind::kHeaderTapped, {}); },
      this);
  viewer_ =
      new Viewer([this](const QString& target) { post_(port::MessageKind::kLink, target); }, this);
  viewer_->setStyle(style());  // a style is not taken over by the children
  layout()->addWidget(header_);
  notice_ = NewNotice(this);
  layout()->addWidget(viewer_);
  layout()->addWidget(notice_);
  setFocusProxy(viewer_);
  // The keyboard reaches the text first.
  setTabOrder(viewer_, header_);
  header_->show();
  viewer_->show();
  layout()->activate();
  if (focused || hasFocus()) viewer_->setFocus();
}

// The end of the text stays in sight above the line that takes its room.
void ArticlePane::SetNotice(const QString& text) {
  if (!notice_ || (text.isEmpty() && notice_->isHidden())) return;
  const bool at_end =
      viewer_->verticalScrollBar()->value() == viewer_->verticalScrollBar()->maximum();
  notice_->setText(text);
  notice_->setToolTip(text);
  notice_->setAccessibleName(text.isEmpty() ? QStringLiteral("Notice") : text);
  notice_->setVisible(!text.isEmpty());
  layout()->activate();
  if (text.isEmpty()) return;
  if (at_end) viewer_->Scroll(port::ScrollStep::kBottom);
  QAccessibleEvent told(notice_.data(), QAccessible::Alert);
  QAccessible::updateAccessibility(&told);
}

QWidget* NewArticleToolbar(const std::vector<port::ToolbarButton>& buttons,
                           const std::function<void(std::uint32_t command)>& handler,
                           QWidget* parent) {
  auto* bar = new QWidget(parent);
  bar->setAccessibleName(QStringLiteral("Article commands"));
  auto* layout = new QHBoxLayout(bar);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  for (const port::ToolbarButton& entry : buttons) {
    layout->addWidget(entry.command == 0 ? NewSeparator(bar) : NewButton(entry, handler, bar));
  }
  layout->addStretch(1);
  return bar;
}

}  // namespace quillet::qt
