// SPDX-License-Identifier: GPL-3.0-or-later
// The HTML viewer of the article pane. It shows what it is given and does nothing by itself: it
// neither follows links nor loads anything nor scrolls on keys.
#pragma once

#include <QTextBrowser>
#include <QTimer>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

#include "port/article_panes.h"
#include "qt/viewer_links.h"

class QMenu;
class QMimeData;

namespace quillet::qt {

class Viewer final : public QTextBrowser {
 public:
  // `activated` gets the target of a link, to the character.
  Viewer(std::function<void(const QString& target)> activated, QWidget* parent = nullptr);

  // The source: cleared, added to, ended. What was shown before stays on the screen for a moment
  // until the new source has ended.
  void Clear();
  void Add(std::u16string_view text, bool plain_text);
  void End();

  // As in port/article_panes.h.
  bool Scroll(port::ScrollStep step);
  std::uint32_t Place() const;
  void GoTo(std::uint32_t place);
  // As a click on a link with that target.
  void Follow(const QString& target) { ActivateLink(target); }
  // The selected text, or everything, to the clipboard.
  void CopySelectionOrAll();

  QVariant loadResource(int type, const QUrl& name) override;

  // The menu for that place of the viewport (none: for the link that has the focus).
  std::unique_ptr<QMenu> NewMenu(std::optional<QPoint> place);

  // The link that Tab has come to; null when it has come to none.
  const PageLink* FocusedLink() const;

 protected:
  QMimeData* createMimeDataFromSelection() const override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void changeEvent(QEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  // From link to link, from the first that is seen; past the last of them out of the viewer.
  bool focusNextPrevChild(bool next) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  void ApplyFont();
  bool IsTap(QPoint place) const;
  void Tapped(QPoint place);
  void ShowMenuByKey();
  void ShowMenu(std::optional<QPoint> place, QPoint screen_place);
  void ActivateLink(const QString& target);
  std::optional<std::size_t> NextLink(bool next) const;
  void FocusLink(std::optional<std::size_t> link);
  void MarkLink();
  void ScrollToLink();
  QRect RectOf(const PageLink& link) const;
  void ShowFirstHighlight();
  void LayOutAll();
  void ScrollTo(port::ScrollStep step);
  void ForgetPages();

  const std::function<void(const QString& target)> activated_;
  QString source_;
  bool plain_text_ = false;
  QString released_on_;  // the link under a mouse button that is being released
  std::vector<PageLink> links_;
  std::optional<std::size_t> focused_link_;
  QPoint touched_;  // where a finger was put down
  QTimer hold_;     // runs while a finger rests
  QTimer thaw_;     // ends the moment in which the old page stays
};

}  // namespace quillet::qt
