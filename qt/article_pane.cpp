#include "qt/article_pane.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QToolButton>
#include <QVBoxLayout>
#include <utility>

#include "qt/icons.h"
#include "qt/text.h"

namespace quillet::qt {
namespace {

constexpr int kLeastButtonWidth = 16;
constexpr int kButtonWidth = 44;  // wide enough for a finger
constexpr int kIconSize = 16;

class ToolbarButton final : public QToolButton {
 public:
  explicit ToolbarButton(QWidget* parent) : QToolButton(parent) {}
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
  button->setFocusPolicy(Qt::TabFocus);
  button->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Ignored);
  button->setMaximumWidth(kButtonWidth);
  button->setProperty("commandId", entry.command);
  QObject::connect(button, &QToolButton::clicked, parent,
                   [handler, command = entry.command] { handler(command); });
  return button;
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
  header_ = new HeaderBar(
      header_font_face, header_font_pixels, [this] { post_(port::MessageKind::kHeaderTapped, {}); },
      this);
  viewer_ =
      new Viewer([this](const QString& target) { post_(port::MessageKind::kLink, target); }, this);
  layout()->addWidget(header_);
  layout()->addWidget(viewer_);
  setFocusProxy(viewer_);
  // The keyboard reaches the text first.
  setTabOrder(viewer_, header_);
  header_->show();
  viewer_->show();
  layout()->activate();
  if (focused || hasFocus()) viewer_->setFocus();
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
