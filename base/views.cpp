// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/views.h"

#include "base/reset.h"
#include "port/platform.h"

namespace quillet {
namespace {

constexpr int kToolbarHeight = 26;
port::Size gInside;

const ResetAtEnd kReset([] { gInside = {}; });

}  // namespace

void KeepInsideSize(port::Size inside) {
  gInside = inside;
}

port::Size InsideSize() {
  return gInside;
}

void LayOutWindow() {
  port::Size tabs = gInside;
  if (gPlatform->windows.SelectedTab() == port::kArticleTab) tabs.height -= kToolbarHeight;
  gPlatform->windows.LayOut(gInside, tabs);
}

void SelectView(int tab) {
  gPlatform->windows.SelectTab(tab);
  LayOutWindow();
}

}  // namespace quillet
