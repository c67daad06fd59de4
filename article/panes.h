// SPDX-License-Identifier: GPL-3.0-or-later
// The article tab: header bar, viewer and toolbar. Program thread only.
#pragma once

namespace quillet {

// Shows the article tab, with its panes and its toolbar on first use, and the focus in the viewer.
void ShowArticleTab();
// The header bar of the current article; empty without one.
void RefreshHeaderBar();
// The panes have gone with the main window's tabs: they are created again when they are shown next.
void ForgetArticlePanes();

}  // namespace quillet
