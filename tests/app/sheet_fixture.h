// SPDX-License-Identifier: GPL-3.0-or-later
// The preferences as a user has them: the whole program, and its sheet.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "app/pages/page.h"
#include "base/extensions.h"
#include "base/messages.h"
#include "res/resource.h"
#include "tests/app/program_fixture.h"

namespace quillet {

// Pages by their place.
enum SheetPlace {
  kServerPlace,
  kConnectionPlace,
  kReplyPlace,
  kSignaturePlace,
  kDownloadPlace,
  kStoragePlace,
  kCompressionPlace,
  kKillfilePlace,
  kGroupViewPlace,
  kThreadViewPlace,
  kArticleViewPlace,
  kSchedulingPlace,
  kDatabasePlace,
  kAdvancedPlace,
  kHeadersPlace,
  kDebuggingPlace,
  kExtensionsPlace
};

constexpr const char16_t* kApplyQuestion =
    u"Do you want to apply these changes? If you press No, the changes will be discarded.";

class SheetTest : public Program {
 protected:
  ~SheetTest() override {
    if (thread_.joinable() && Sheet() != 0) {
      fake_.display.Allow(u"", port::kIdNo);
      Cancel();
    }
  }

  void Open() { Command(kCommandPreferences); }
  void OpenAt(int place) {
    Open();
    Turn(place);
  }
  port::WindowHandle Sheet() {
    for (const port::ShownDialog& dialog : fake_.display.dialogs()) {
      if (!dialog.pages.empty()) return dialog.handle;
    }
    return 0;
  }
  port::ShownDialog ShownSheet() {
    return fake_.display.FindDialog(Sheet()).value_or(port::ShownDialog());
  }
  int Place() { return ShownSheet().page; }
  void Turn(int place) {
    if (Place() == place) return;
    EXPECT_TRUE(fake_.display.ChoosePage(Sheet(), place));
    WaitIdle();
  }
  port::WindowHandle Page() {
    const port::ShownDialog sheet = ShownSheet();
    return sheet.pages.empty() ? 0 : sheet.pages[static_cast<std::size_t>(sheet.page)];
  }

  port::ShownControl Shown(std::uint32_t control) {
    return fake_.display.Control(Page(), control).value_or(port::ShownControl());
  }
  // Of a drop-down list.
  std::u16string Chosen(std::uint32_t control) { return ChosenIn(Page(), control); }
  std::u16string ChosenIn(port::WindowHandle dialog, std::uint32_t control) {
    const auto list = fake_.display.Control(dialog, control).value_or(port::ShownControl());
    const auto place = static_cast<std::size_t>(list.choice);
    return list.choice >= 0 && place < list.choices.size() ? list.choices[place] : u"none";
  }
  void Type(std::uint32_t control, std::u16string_view text) {
    EXPECT_TRUE(fake_.display.Type(Page(), control, text));
    WaitIdle();
  }
  void Tick(std::uint32_t control, bool checked) {
    EXPECT_TRUE(fake_.display.Tick(Page(), control, checked));
    WaitIdle();
  }
  void Choose(std::uint32_t control, int index) {
    EXPECT_TRUE(fake_.display.Choose(Page(), control, index));
    WaitIdle();
  }
  void Choose(std::uint32_t control, std::u16string_view item) {
    const port::ShownControl list = Shown(control);
    const auto found = std::ranges::find(list.choices, item);
    ASSERT_NE(found, list.choices.end());
    Choose(control, static_cast<int>(found - list.choices.begin()));
  }
  void Press(std::uint32_t control) {
    EXPECT_TRUE(fake_.display.Press(Page(), control));
    WaitIdle();
  }
  void Ok() {
    EXPECT_TRUE(fake_.display.Press(Sheet(), kControlOk));
    WaitIdle();
  }
  void Cancel() {
    EXPECT_TRUE(fake_.display.Press(Sheet(), kControlCancel));
    WaitIdle();
  }
  bool IsOpen() { return Sheet() != 0; }
  // The text of the last box, and there is no other than those of before.
  std::u16string LastBox() {
    const auto boxes = fake_.display.boxes();
    return boxes.empty() ? u"" : boxes.back().text;
  }
  std::u16string Text(std::u16string_view name) {
    const auto value = fake_.registry.FindString(kRegistryPath, name);
    return value ? *value : u"missing";
  }
};

}  // namespace quillet
