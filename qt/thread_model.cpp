// SPDX-License-Identifier: GPL-3.0-or-later
// Rows stand in one vector and are named by their slot in it; the children of a row are a run in a
// second vector. So a tree of 100,000 rows costs few allocations beside its texts, and an index of
// the toolkit is the slot. Slots of removed rows are used again; gaps among the children are closed
// when they are most of it. Rows below the deepest level stand side by side.
#include "qt/thread_model.h"

#include <QFont>
#include <algorithm>
#include <utility>

#include "qt/one_line.h"
#include "qt/row_words.h"

namespace quillet::qt {
namespace {

constexpr int kRoot = 0;
// Up to that many new labels are told one by one.
constexpr std::size_t kFewLabels = 100;

QStringView ViewOf(const std::u16string& text) {
  return {text.data(), static_cast<qsizetype>(text.size())};
}

}  // namespace

ThreadModel::ThreadModel(QObject* parent) : QAbstractItemModel(parent) {
  Clear();
}

// --- slots and indexes ---------------------------------------------------------------------------

ThreadModel::Slot ThreadModel::SlotOf(const QModelIndex& index) const {
  return index.isValid() ? static_cast<Slot>(index.internalId()) : kRoot;
}

QModelIndex ThreadModel::IndexOf(Slot slot) const {
  if (slot == kRoot) return {};
  return createIndex(RowOf(slot).position, 0, static_cast<quintptr>(slot));
}

ThreadModel::Slot ThreadModel::Child(Slot parent, int position) const {
  return *(children_.begin() + RowOf(parent).first_child + position);
}

std::vector<ThreadModel::Slot> ThreadModel::ChildrenOf(Slot parent) const {
  const auto first = children_.begin() + RowOf(parent).first_child;
  return {first, first + RowOf(parent).child_count};
}

void ThreadModel::SetChildren(Slot parent, const std::vector<Slot>& children) {
  Row& row = RowOf(parent);
  const auto count = static_cast<int>(children.size());
  if (count > row.child_count) {
    row.first_child = static_cast<int>(children_.size());
    children_.resize(children_.size() + children.size());
  }
  row.child_count = count;
  std::copy(children.begin(), children.end(), children_.begin() + row.first_child);
  for (int i = 0; i < count; ++i) RowOf(children[static_cast<std::size_t>(i)]).position = i;
}

QModelIndex ThreadModel::Find(port::TreeItem item) const {
  return item == 0 ? QModelIndex() : IndexOf(slots_.value(item, kRoot));
}

port::TreeItem ThreadModel::ItemOf(const QModelIndex& index) const {
  return RowOf(SlotOf(index)).item;
}

std::uint32_t ThreadModel::DepthOf(const QModelIndex& index) const {
  return RowOf(SlotOf(index)).depth;
}

const std::u16string& ThreadModel::TextOf(const QModelIndex& index) const {
  return RowOf(SlotOf(index)).text;
}

bool ThreadModel::BoldOf(const QModelIndex& index) const {
  return RowOf(SlotOf(index)).bold;
}

port::Seconds ThreadModel::DateOf(const QModelIndex& index) const {
  return RowOf(SlotOf(index)).date;
}

const std::u16string& ThreadModel::AuthorOf(const QModelIndex& index) const {
  const Slot slot = SlotOf(index);
  const Row& row = RowOf(slot);
  const bool thread = slot != kRoot && row.parent == kRoot && row.child_count > 0;
  return thread ? RowOf(Child(slot, 0)).text : RowOf(kRoot).text;
}

QModelIndex ThreadModel::Next(const QModelIndex& index) const {
  Slot slot = SlotOf(index);
  if (RowOf(slot).child_count > 0) return IndexOf(Child(slot, 0));
  while (slot != kRoot) {
    const Slot above = RowOf(slot).parent;
    const int next = RowOf(slot).position + 1;
    if (next < RowOf(above).child_count) return IndexOf(Child(above, next));
    slot = above;
  }
  return {};
}

// By depth: what is too deep to stand below the row stands behind it.
int ThreadModel::CountBelow(const QModelIndex& index) const {
  int count = 0;
  for (QModelIndex row = Next(index); DepthOf(row) > DepthOf(index); row = Next(row)) ++count;
  return count;
}

// --- adding and removing rows --------------------------------------------------------------------

void ThreadModel::Clear() {
  rows_.clear();
  rows_.emplace_back();
  children_.clear();
  free_.clear();
  slots_.clear();
}

ThreadModel::Slot ThreadModel::Add(port::TreeRow row, Slot parent, std::uint32_t depth) {
  Slot slot = static_cast<Slot>(rows_.size());
  if (free_.empty()) {
    rows_.emplace_back();
  } else {
    slot = free_.back();
    free_.pop_back();
  }
  RowOf(slot) = {row.item, depth, parent, 0, 0, 0, row.bold, std::move(row.text), row.date};
  if (row.item != 0 && !slots_.contains(row.item)) slots_.insert(row.item, slot);
  return slot;
}

// Adds rows at that depth for `parent`, whose own children stay as they are; those that belong
// directly below it.
std::vector<ThreadModel::Slot> ThreadModel::AddAll(std::vector<port::TreeRow> rows, Slot parent,
                                                   std::uint32_t depth) {
  rows_.reserve(rows_.size() + rows.size());
  slots_.reserve(slots_.size() + static_cast<qsizetype>(rows.size()));
  const std::size_t levels = depth < kDeepestLevel ? kDeepestLevel - depth : 0;
  std::vector<Slot> added;
  added.reserve(rows.size());
  std::vector<Slot> above{parent};  // by level: what a row there belongs to
  for (port::TreeRow& row : rows) {
    const std::size_t level = std::min<std::size_t>(row.depth, above.size() - 1);
    above.resize(level + 1);
    const Slot to = above[std::min(level, levels)];
    added.push_back(Add(std::move(row), to, depth + static_cast<std::uint32_t>(level)));
    above.push_back(added.back());
  }
  return PlaceChildren(added, parent);
}

std::vector<ThreadModel::Slot> ThreadModel::PlaceChildren(const std::vector<Slot>& added,
                                                          Slot parent) {
  for (const Slot slot : added) {
    if (RowOf(slot).parent != parent) ++RowOf(RowOf(slot).parent).child_count;
  }
  auto place = static_cast<int>(children_.size());
  for (const Slot slot : added) {
    RowOf(slot).first_child = place;
    place += std::exchange(RowOf(slot).child_count, 0);
  }
  children_.resize(static_cast<std::size_t>(place));
  std::vector<Slot> tops;
  for (const Slot slot : added) {
    Row& row = RowOf(slot);
    if (row.parent == parent) {
      tops.push_back(slot);
      continue;
    }
    Row& above = RowOf(row.parent);
    row.position = above.child_count++;
    *(children_.begin() + above.first_child + row.position) = slot;
  }
  return tops;
}

void ThreadModel::Forget(Slot slot) {
  std::vector<Slot> open{slot};
  while (!open.empty()) {
    const Slot gone = open.back();
    open.pop_back();
    for (int i = 0; i < RowOf(gone).child_count; ++i) open.push_back(Child(gone, i));
    if (slots_.value(RowOf(gone).item, kRoot) == gone) slots_.remove(RowOf(gone).item);
    RowOf(gone) = {};
    free_.push_back(gone);
  }
}

void ThreadModel::RemoveChildren(Slot parent, int first, int end) {
  beginRemoveRows(IndexOf(parent), first, end - 1);
  std::vector<Slot> children = ChildrenOf(parent);
  for (int i = first; i < end; ++i) Forget(children[static_cast<std::size_t>(i)]);
  children.erase(children.begin() + first, children.begin() + end);
  SetChildren(parent, children);
  endRemoveRows();
}

void ThreadModel::InsertChildren(Slot parent, int position, const std::vector<Slot>& added) {
  const auto count = static_cast<int>(added.size());
  beginInsertRows(IndexOf(parent), position, position + count - 1);
  std::vector<Slot> children = ChildrenOf(parent);
  children.insert(children.begin() + position, added.begin(), added.end());
  SetChildren(parent, children);
  endInsertRows();
}

// Replacing leaves gaps in the array of children; it is made anew when they are most of it.
void ThreadModel::TidyChildren() {
  if (children_.size() < 2 * rows_.size() + 1000) return;
  std::vector<Slot> tidy;
  tidy.reserve(rows_.size());
  for (Row& row : rows_) {
    const auto first = children_.begin() + row.first_child;
    row.first_child = static_cast<int>(tidy.size());
    tidy.insert(tidy.end(), first, first + row.child_count);
  }
  children_ = std::move(tidy);
}

void ThreadModel::Fill(std::vector<port::TreeRow> rows) {
  beginResetModel();
  Clear();
  SetChildren(kRoot, AddAll(std::move(rows), kRoot, 0));
  endResetModel();
}

void ThreadModel::Replace(port::TreeItem item, std::vector<port::TreeRow> rows) {
  const Slot slot = SlotOf(Find(item));
  if (slot == kRoot) return;
  const auto [depth, parent, position] =
      std::tuple(RowOf(slot).depth, RowOf(slot).parent, RowOf(slot).position);
  // What is too deep to stand below it stands behind it.
  int end = position + 1;
  while (end < RowOf(parent).child_count && RowOf(Child(parent, end)).depth > depth) ++end;
  RemoveChildren(parent, position, end);
  const std::vector<Slot> added = AddAll(std::move(rows), parent, depth);
  if (!added.empty()) InsertChildren(parent, position, added);
  TidyChildren();
}

void ThreadModel::SetLabels(std::vector<port::TreeLabel> labels) {
  const bool few = labels.size() <= kFewLabels;
  for (port::TreeLabel& label : labels) {
    const Slot slot = SlotOf(Find(label.item));
    if (slot == kRoot) continue;
    RowOf(slot).bold = label.bold;
    RowOf(slot).text = std::move(label.text);
    if (few) emit dataChanged(IndexOf(slot), IndexOf(slot));
  }
  if (!few && rowCount() > 0) emit dataChanged(index(0, 0), index(rowCount() - 1, 0));
}

// --- what views ask ------------------------------------------------------------------------------

QModelIndex ThreadModel::index(int row, int column, const QModelIndex& parent) const {
  const Slot above = SlotOf(parent);
  if (column != 0 || row < 0 || row >= RowOf(above).child_count) return {};
  return createIndex(row, 0, static_cast<quintptr>(Child(above, row)));
}

QModelIndex ThreadModel::parent(const QModelIndex& index) const {
  return IndexOf(RowOf(SlotOf(index)).parent);
}

int ThreadModel::rowCount(const QModelIndex& parent) const {
  return RowOf(SlotOf(parent)).child_count;
}

int ThreadModel::columnCount(const QModelIndex& /*parent*/) const {
  return 1;
}

bool ThreadModel::hasChildren(const QModelIndex& parent) const {
  return rowCount(parent) > 0;
}

QVariant ThreadModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const Row& row = RowOf(SlotOf(index));
  switch (role) {
    case Qt::DisplayRole:
      return OneLine(ViewOf(row.text));
    case Qt::FontRole: {
      if (!row.bold) return {};
      QFont bold;
      bold.setBold(true);
      return bold;
    }
    case Qt::AccessibleTextRole:
      return ThreadRowInWords({OneLine(ViewOf(row.text)), row.bold, CountBelow(index),
                               static_cast<int>(row.depth) + 1});
    default:
      return {};
  }
}

QVariant ThreadModel::headerData(int section, Qt::Orientation orientation, int role) const {
  const bool column = section == 0 && orientation == Qt::Horizontal;
  return column && role == Qt::DisplayRole ? QStringLiteral("Threads") : QVariant();
}

Qt::ItemFlags ThreadModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return Qt::NoItemFlags;
  const Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
  return hasChildren(index) ? flags : flags | Qt::ItemNeverHasChildren;
}

}  // namespace quillet::qt
