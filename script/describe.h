// SPDX-License-Identifier: GPL-3.0-or-later
// What the display shows, as JSON. Pure but for the display they are given.
#pragma once

#include <string>
#include <string_view>

#include "port/fake/fake_display.h"
#include "script/json.h"

namespace quillet {

std::string_view ViewName(int tab);  // "group", "thread", "article"
std::string_view PlacementName(port::TabPlacement placement);
// "main", "dialog" or "none".
std::string_view OwnerKind(const port::FakeDisplay& display, port::WindowHandle owner);

JsonObject DescribeBox(const port::ShownBox& box, std::string_view owner, int answer);
// A sheet with the captions of its pages and the page in front.
JsonObject DescribeDialog(const port::FakeDisplay& display, const port::ShownDialog& dialog);
JsonObject DescribeGroups(const port::ShownList& list);
// The first steps below its rows.
JsonObject DescribeGuide(const port::ShownList& list);
JsonObject DescribeTabs(const port::ShownMainWindow& window);
JsonObject DescribeWindow(const port::ShownMainWindow& window);
// The tables of one view: entries, buttons, accelerators.
JsonObject DescribeMenu(int view);

}  // namespace quillet
