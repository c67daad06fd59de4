// SPDX-License-Identifier: GPL-3.0-or-later
// The rows of the thread tree as a model: flat arrays, no object of its own for a row.
#pragma once

#include <QAbstractItemModel>
#include <QHash>
#include <QSet>
#include <string>
#include <vector>

#include "port/tree_view.h"

namespace quillet::qt {

// Rows that stand deeper than this are shown as children of their ancestor above it, one after the
// other: views go through the levels by recursion, and nobody counts that many indents.
constexpr std::uint32_t kDeepestLevel = 1000;

class ThreadModel final : public QAbstractItemModel {
 public:
  explicit ThreadModel(QObject* parent);

  // As in port/tree_view.h. Depths that leave out a level are brought to the nearest one; of rows
  // with the same item only the first is found.
  void Fill(std::vector<port::TreeRow> rows);
  void Replace(port::TreeItem item, std::vector<port::TreeRow> rows);
  // Of many labels only the top level's are told as changed; whoever shows rows draws them anew.
  void SetLabels(std::vector<port::TreeLabel> labels);

  QModelIndex Find(port::TreeItem item) const;
  port::TreeItem ItemOf(const QModelIndex& index) const;  // 0 for no row
  std::uint32_t DepthOf(const QModelIndex& index) const;  // the program's, not limited
  const std::u16string& TextOf(const QModelIndex& index) const;
  bool BoldOf(const QModelIndex& index) const;
  port::Seconds DateOf(const QModelIndex& index) const;
  // Of a thread the text of its first row; empty for every other row.
  const std::u16string& AuthorOf(const QModelIndex& index) const;
  // The next row of the whole tree, whatever is expanded.
  QModelIndex Next(const QModelIndex& index) const;
  // All answers to the row, and answers to these.
  int CountBelow(const QModelIndex& index) const;

  QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  QModelIndex parent(const QModelIndex& index) const override;
  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  bool hasChildren(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  // Never drawn, but read out as the name of the column.
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

 private:
  // Slots keep their number as long as their row exists; the numbers of rows that went are used
  // again.
  using Slot = int;
  struct Row {
    port::TreeItem item = 0;
    std::uint32_t depth = 0;
    Slot parent = 0;
    int position = 0;     // among its siblings
    int first_child = 0;  // place in children_
    int child_count = 0;
    bool bold = false;
    std::u16string text;
    port::Seconds date = port::kNoDate;
  };

  Slot SlotOf(const QModelIndex& index) const;
  QModelIndex IndexOf(Slot slot) const;
  const Row& RowOf(Slot slot) const { return rows_[static_cast<std::size_t>(slot)]; }
  Row& RowOf(Slot slot) { return rows_[static_cast<std::size_t>(slot)]; }
  Slot Child(Slot parent, int position) const;
  std::vector<Slot> ChildrenOf(Slot parent) const;
  void SetChildren(Slot parent, const std::vector<Slot>& children);

  void Clear();
  Slot Add(port::TreeRow row, Slot parent, std::uint32_t depth);
  std::vector<Slot> AddAll(std::vector<port::TreeRow> rows, Slot parent, std::uint32_t depth);
  std::vector<Slot> PlaceChildren(const std::vector<Slot>& added, Slot parent);
  void Forget(Slot slot);
  void RemoveChildren(Slot parent, int first, int end);
  void InsertChildren(Slot parent, int position, const std::vector<Slot>& added);
  void TidyChildren();

  std::vector<Row> rows_;       // the first is the root, which is no row of the tree
  std::vector<Slot> children_;  // of each row one after the other
  std::vector<Slot> free_;
  QHash<port::TreeItem, Slot> slots_;
};

}  // namespace quillet::qt
