// SPDX-License-Identifier: GPL-3.0-or-later
// The article view's pane: the header bar and the viewer below it; and the bar of buttons that
// stands below the tabs. Display thread only.
#pragma once

#include <QPointer>
#include <QWidget>
#include <functional>
#include <string_view>
#include <vector>

#include "port/article_panes.h"
#include "port/message.h"
#include "qt/header_bar.h"
#include "qt/viewer.h"

class QLabel;

namespace quillet::qt {

class ArticlePane final : public QWidget {
 public:
  using Post = std::function<void(port::MessageKind kind, const QString& text)>;

  // `post` gets kHeaderTapped and kLink.
  explicit ArticlePane(Post post);

  // Replaces earlier ones.
  void CreatePanes(std::u16string_view header_font_face, int header_font_pixels);

  // As in port/article_panes.h.
  void SetNotice(const QString& text);

  // Null before CreatePanes.
  HeaderBar* Header() const { return header_; }
  Viewer* Text() const { return viewer_; }
  QLabel* Notice() const { return notice_; }

 private:
  Post post_;
  QPointer<HeaderBar> header_;
  QPointer<Viewer> viewer_;
  QPointer<QLabel> notice_;
};

// A row of buttons that share the width they are given, up to a comfortable size. `handler` gets
// the command of a button that is pressed.
QWidget* NewArticleToolbar(const std::vector<port::ToolbarButton>& buttons,
                           const std::function<void(std::uint32_t command)>& handler,
                           QWidget* parent);

}  // namespace quillet::qt
