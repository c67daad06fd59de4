// SPDX-License-Identifier: GPL-3.0-or-later
// The thread tree on the display: from the program's call to the painted rows, for 100,000 rows.
//
// usage: display_bench [ROUNDS]; ends with 1 when a time is above its target.
#include <QApplication>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "bench/on_display.h"
#include "qt/device.h"

namespace quillet::qt {
namespace {

using port::TreeItem;
using port::TreeRow;
using Rows = std::vector<TreeRow>;

constexpr TreeItem kRows = 100000;
constexpr double kShowMs = 50;
constexpr double kExpandMs = 200;

std::u16string Text(std::string text) {
  return {text.begin(), text.end()};
}

// Subject rows with that many articles each, one below the other.
Rows Threads(TreeItem articles) {
  Rows rows;
  for (TreeItem item = 0; item < kRows; ++item) {
    const TreeItem depth = item % (articles + 1);
    std::string text = "Somebody Else <somebody.else@example.invalid>";
    if (depth == 0) text = "2/3 A subject of usual length, number " + std::to_string(item);
    rows.push_back({item + 1, depth, item % 3 == 0, Text(std::move(text))});
  }
  return rows;
}

class Bench {
 public:
  Bench(QtDevice& device, int rounds) : device_(device), times_(rounds) {}

  bool Run() {
    device_.windows().CreateMainWindow({u"Quillet CE", u"Quillet CE", 103, {1280, 800}});
    device_.windows().ShowMainWindow();
    device_.windows().CreateTabs(port::TabPlacement::kBottom);
    device_.windows().SelectTab(port::kThreadTab);
    ShowAll("threads of three", Threads(3));
    ShowAll("one row below the other", Threads(0));
    ShowAll("one chain of replies", Threads(kRows - 1));
    ChangeAll(Threads(3));
    SelectDeep();
    device_.windows().DestroyMainWindow();
    return times_.good();
  }

 private:
  using Step = std::function<void()>;

  ThreadTree& Tree() { return *device_.display().main->Threads()->Tree(); }
  void OnDisplay(const Step& action) { device_.jobs().Call(action); }
  void Refill(const Rows& rows) {
    device_.thread_tree().CreateTree(u"thread tree", u"", 4);
    device_.thread_tree().FillTree(rows);
    Paint();
  }
  void Paint() {
    OnDisplay([&] {
      QCoreApplication::processEvents();
      Tree().viewport()->repaint();
    });
  }

  void Measure(const std::string& what, double target, const Step& before, const Step& step) {
    times_.Measure(what, target, before, [&] {
      step();
      Paint();
    });
  }

  void ShowAll(const std::string& shape, const Rows& rows) {
    Rows given;
    Measure(
        "rows shown, " + shape, kShowMs,
        [&] {
          Refill({});
          given = rows;
        },
        [&] { device_.thread_tree().FillTree(std::move(given)); });
    Measure(
        "  expand all", kExpandMs, [&] { Refill(rows); },
        [&] { OnDisplay([&] { Tree().expandAll(); }); });
    Measure(
        "  rows shown again, all expanded", kExpandMs, [&] { given = rows; },
        [&] { device_.thread_tree().FillTree(std::move(given)); });
  }

  void ChangeAll(const Rows& rows) {
    const TreeItem item = rows[kRows / 2].item;
    const Rows thread(rows.begin() + kRows / 2, rows.begin() + kRows / 2 + 4);
    Refill(rows);
    const auto replace = [&] { device_.thread_tree().ReplaceSubtree(item, thread); };
    Measure(
        "a thread replaced, all collapsed", kShowMs, [] {}, replace);
    OnDisplay([&] { Tree().expandAll(); });
    Measure(
        "a thread replaced, all expanded", kExpandMs, [] {}, replace);
    std::vector<port::TreeLabel> labels;
    Measure(
        "all labels set", kShowMs,
        [&] {
          labels.clear();
          for (const TreeRow& row : rows) labels.push_back({row.item, !row.bold, row.text});
        },
        [&] { device_.thread_tree().SetLabels(std::move(labels)); });
  }

  void SelectDeep() {
    const Rows rows = Threads(1800);
    Measure(
        "the last of 1,800 replies selected", kShowMs, [&] { Refill(rows); },
        [&] { device_.thread_tree().SelectItem(1800); });
  }

  QtDevice& device_;
  MedianTimes times_;
};

}  // namespace
}  // namespace quillet::qt

int main(int argc, char** argv) {
  return quillet::qt::RunOnDisplay<quillet::qt::Bench>(argc, argv);
}
