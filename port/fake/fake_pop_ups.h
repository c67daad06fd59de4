// SPDX-License-Identifier: GPL-3.0-or-later
// Pop-up menus without pixels.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "port/fake/answers.h"
#include "port/fake/fake_screen.h"
#include "port/pop_up_menus.h"

namespace quillet::port {

class FakePopUps : public PopUpMenus {
 public:
  explicit FakePopUps(FakeScreen& screen) : screen_(screen) {}

  // In the next pop-up menu the entry with that text is chosen; empty: the menu is dismissed. A
  // menu that nobody announced is dismissed and a failure, as is a text that it does not have and
  // an announcement left over.
  void ExpectPopUp(std::u16string entry);
  // Failures for what was announced and did not happen (once).
  void Verify();
  // Every menu so far.
  std::vector<std::vector<PopUpEntry>> pop_ups() const;

  std::uint32_t ShowPopUp(WindowHandle owner, const std::vector<PopUpEntry>& entries) override;

 private:
  FakeScreen& screen_;
  Answers<std::u16string> expected_;
  std::vector<std::vector<PopUpEntry>> pop_ups_;
};

}  // namespace quillet::port
