// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/thread_pane.h"

#include <QVBoxLayout>
#include <utility>

#include "qt/one_line.h"
#include "qt/wrapped_text.h"

namespace quillet::qt {
namespace {

QString CaptionName() {
  return QStringLiteral("Caption of the thread tree");
}

}  // namespace

ThreadPane::ThreadPane(Told activated, Told menu, QWidget* parent)
    : QWidget(parent),
      activated_(std::move(activated)),
      menu_(std::move(menu)),
      caption_(new ElidedText(this)) {
  setAccessibleName(QStringLiteral("Threads"));
  setFocusPolicy(Qt::StrongFocus);
  caption_->setAccessibleName(CaptionName());
  caption_->setContentsMargins(4, 2, 4, 2);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(caption_);
  layout->addStretch(1);
}

void ThreadPane::CreateTree(const QString& name, const QFont& font) {
  const bool had_focus = hasFocus() || (tree_ && tree_->hasFocus());
  delete tree_;
  const auto note_menu = [this](port::TreeItem item, const MenuPlace& where) {
    menu_place_ = where;
    menu_asked_ = true;
    menu_(item);
  };
  tree_ = new ThreadTree({activated_, note_menu}, this);
  tree_->setStyle(style());
  tree_->setFont(font);
  tree_->setAccessibleName(name);
  auto* box = static_cast<QVBoxLayout*>(layout());
  if (box->count() > 1) delete box->takeAt(1);  // what held the place of the tree
  box->insertWidget(1, tree_, 1);
  setFocusProxy(tree_);
  box->activate();
  tree_->show();  // now: what is not shown yet does not keep the focus
  if (had_focus) tree_->setFocus();
}

void ThreadPane::SetCaption(const QString& text) {
  const QString line = OneLine(text);
  caption_->setText(line);
  caption_->setToolTip(PlainToolTip(line));
  caption_->setAccessibleName(line.isEmpty() ? CaptionName() : line);
}

MenuPlace ThreadPane::LastMenuPlace() const {
  if (menu_asked_) return menu_place_;
  return {mapToGlobal(rect().center()), true};
}

}  // namespace quillet::qt
