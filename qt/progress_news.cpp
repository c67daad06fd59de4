// SPDX-License-Identifier: GPL-3.0-or-later
// Each label and the bar tell their own news, for readers that look at them. Most look at what has
// the focus alone: the whole sentence is therefore the description of the button that would end the
// operation, and of the dialog.
#include "qt/progress_news.h"

#include <QLabel>
#include <QProgressBar>
#include <algorithm>
#include <utility>

#include "res/resource.h"

namespace quillet::qt {
namespace {

constexpr int kPeriodMs = 1000;

void TellOf(QWidget& widget) {
  if (const auto* bar = qobject_cast<QProgressBar*>(&widget)) {
    QAccessibleValueChangeEvent event(&widget, bar->value());
    return QAccessible::updateAccessibility(&event);
  }
  QAccessibleEvent event(&widget, QAccessible::NameChanged);
  QAccessible::updateAccessibility(&event);
}

QString PercentOf(const QProgressBar& bar) {
  const qint64 all = qint64{bar.maximum()} - bar.minimum();
  if (all <= 0) return {};
  const qint64 done = std::max(qint64{bar.value()} - bar.minimum(), qint64{0});
  return QStringLiteral("%1 %").arg(done * 100 / all);
}

}  // namespace

ProgressNews::ProgressNews(QWidget& dialog) : QObject(&dialog), dialog_(dialog) {
  timer_.setSingleShot(true);
  connect(&timer_, &QTimer::timeout, this, [this] { Tell(); });
}

bool ProgressNews::Takes(QWidget& widget, const QAccessibleEvent& event) {
  const bool is_news =
      event.type() == QAccessible::NameChanged || event.type() == QAccessible::ValueChanged;
  QWidget* dialog = widget.window();
  if (!is_news || dialog->property("dialogId").toUInt() != kDialogProgress) return false;
  if (&widget == dialog) return false;
  ProgressNews* news = nullptr;
  for (QObject* child : dialog->children()) {
    news = news != nullptr ? news : dynamic_cast<ProgressNews*>(child);
  }
  if (news == nullptr) news = new ProgressNews(*dialog);
  if (news->telling_) return false;
  news->Note(widget);
  return true;
}

// The first news waits a moment too: others come with it.
void ProgressNews::Note(QWidget& widget) {
  const auto is_it = [&widget](const auto& other) { return other == &widget; };
  if (std::ranges::none_of(changed_, is_it)) changed_.emplace_back(&widget);
  if (timer_.isActive()) return;
  const qint64 since = told_.isValid() ? told_.elapsed() : kPeriodMs;
  timer_.start(static_cast<int>(std::max(kPeriodMs - since, qint64{0})));
}

void ProgressNews::Tell() {
  told_.start();
  telling_ = true;
  for (const auto& widget : std::exchange(changed_, {})) {
    if (widget) TellOf(*widget);
  }
  const QString words = InWords();
  dialog_.setAccessibleDescription(words);
  if (QWidget* focused = dialog_.focusWidget()) focused->setAccessibleDescription(words);
  telling_ = false;
}

QString ProgressNews::InWords() const {
  QStringList words;
  for (const QLabel* label : dialog_.findChildren<QLabel*>()) {
    if (label->isVisible() && !label->text().isEmpty()) words << label->text();
  }
  const auto* bar = dialog_.findChild<QProgressBar*>();
  const QString percent = bar != nullptr && bar->isVisible() ? PercentOf(*bar) : QString();
  if (!percent.isEmpty()) words.insert(std::min<qsizetype>(1, words.size()), percent);
  return words.join(QStringLiteral(", "));
}

}  // namespace quillet::qt
