// SPDX-License-Identifier: GPL-3.0-or-later
// A property sheet as a widget: the names of its pages in a list beside the page, on a phone in a
// drop-down list above it; OK and Cancel below. A page that does not fit is scrolled, up and down
// only. Return is OK but in an edit of several lines and on Cancel. Display thread only.
#pragma once

#include <QComboBox>
#include <QDialog>
#include <QListWidget>
#include <QStackedWidget>
#include <vector>

#include "qt/accessible_rows.h"
#include "qt/control_messages.h"

namespace quillet::qt {

// The captions of the pages: whichever is chosen is shown at once.
class PageNames final : public RowView<QListWidget> {
 public:
  using RowView::RowView;
  void OpenRow(const QModelIndex& /*row*/) override {}
};

class SheetDialog final : public QDialog {
 public:
  struct Page {
    QString caption;
    QWidget* widget = nullptr;  // becomes the sheet's
  };

  // `tell` gets the pages that come and go, and OK and Cancel, which leave the sheet open.
  SheetDialog(const QString& title, const std::vector<Page>& pages, QWidget* owner, Tell tell);

  int ShownPage() const { return stack_->currentIndex(); }
  void ShowPage(int page);
  // By its caption; false when there is none.
  bool ShowPageNamed(const QString& caption);

  void setVisible(bool visible) override;
  void reject() override { TellCommand(false); }
  void accept() override { TellCommand(true); }

 protected:
  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QWidget* NewPageChooser();
  void AddButtons(QLayout& below);
  void AddPage(const Page& page);
  void KeepFromWheel(QWidget& page);
  void BindKeys();
  void Step(int by);
  void FocusPage();
  void TellCommand(bool ok) const;
  void TellPage(port::MessageKind kind, int page) const;

  const Tell tell_;
  const bool narrow_;
  QStackedWidget* stack_;
  QListWidget* names_ = nullptr;  // one of these two
  QComboBox* short_names_ = nullptr;
  bool shown_ = false;
};

}  // namespace quillet::qt
