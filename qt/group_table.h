// SPDX-License-Identifier: GPL-3.0-or-later
// The group list as widgets: a model of the rows and the table that shows it.
#pragma once

#include <QAbstractTableModel>
#include <QTreeView>
#include <array>
#include <functional>
#include <string>
#include <vector>

#include "port/list_view.h"
#include "qt/accessible_rows.h"

namespace quillet::qt {

class GroupModel final : public QAbstractTableModel {
 public:
  using Checked = std::function<void(int row, const std::u16string& name, bool checked)>;

  // `checked` is called with every box that the user changes.
  GroupModel(Checked checked, QObject* parent);

  void SetColumns(std::span<const port::ListColumn, 2> columns);
  void SetRows(std::vector<port::ListRow> rows);
  void SetCounts(std::vector<std::u16string> counts);
  void SetChecks(int first, const std::vector<port::CheckState>& checks);
  std::vector<port::CheckState> Checks() const;
  // The user's: ticks an unticked box and the other way round; a row without a box stays as it is.
  void Toggle(int row);

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role) override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

 private:
  QString Text(const port::ListRow& row, int column) const;
  bool CheckByUser(int row, bool checked);

  Checked checked_;
  std::vector<port::ListRow> rows_;
  std::array<QString, 2> titles_;
  std::array<bool, 2> centred_{};
};

// The two columns always fill the list: given widths count by their proportion, so that widths
// saved on one screen fit another.
class GroupTable final : public RowView<QTreeView> {
 public:
  // What the user does, on the display thread.
  struct Told {
    std::function<void(int row)> activated;  // by a double click or Enter
    GroupModel::Checked checked;
    std::function<void(int column, int width)> sized;  // by the user, or by the window's size
  };
  GroupTable(Told told, QWidget* parent);

  GroupModel& Rows() { return *model_; }
  void SetColumns(std::span<const port::ListColumn, 2> columns);
  void Fill(std::vector<port::ListRow> rows, int selected);
  int SelectedRow() const;
  // Where a click changes the row's box, in viewport coordinates; empty without a box.
  QRect BoxRect(int row) const;
  void OpenRow(const QModelIndex& row) override { told_.activated(row.row()); }

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  void ApplyWidths();
  void TellWidth(int column, int width);
  double FirstColumnShare(int client) const;

  Told told_;
  GroupModel* model_;
  std::array<int, 2> given_widths_{};  // 0: the default
  std::array<int, 2> told_widths_{};
  double chosen_share_ = 0;  // the first column's, once the user moved the divider
  bool applying_ = false;
};

}  // namespace quillet::qt
