// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/fake_pop_ups.h"

#include <optional>
#include <set>
#include <utility>

#include "util/text.h"

namespace quillet::port {
namespace {

// What is wrong with a menu; empty when nothing is.
std::string WrongMenu(const std::vector<PopUpEntry>& entries) {
  std::set<std::uint32_t> commands;
  for (const PopUpEntry& entry : entries) {
    const bool separator = entry.command == 0;
    if (separator && !entry.text.empty()) {
      return "a menu entry that cannot be told from no choice";
    }
    if (separator && entry.checked) return "a separator with a check mark";
    if (separator) continue;
    if (entry.text.empty()) return "a menu entry without a text";
    if (!commands.insert(entry.command).second) return "a menu with one command twice";
  }
  return {};
}

}  // namespace

std::uint32_t FakePopUps::ShowPopUp(WindowHandle owner, const std::vector<PopUpEntry>& entries) {
  screen_.CheckThread("ShowPopUp");
  if (!screen_.CheckOwner("ShowPopUp", owner)) return 0;
  const std::string wrong = WrongMenu(entries);
  if (!wrong.empty()) screen_.on_failure("display: " + wrong);
  {
    const auto lock = screen_.Locked();
    if (screen_.gone || entries.empty()) return 0;
    pop_ups_.push_back(entries);
    screen_.Changed();
  }
  if (const auto observed = screen_.observer().OnPopUp(entries)) return *observed;
  const std::optional<std::u16string> wanted = expected_.Take();
  if (!wanted) screen_.on_failure("display: unannounced pop-up menu");
  if (!wanted || wanted->empty()) return 0;
  for (const PopUpEntry& entry : entries) {
    if (entry.text == *wanted) return entry.command;
  }
  screen_.on_failure("display: no entry of the pop-up menu: " + ToUtf8(*wanted));
  return 0;
}

void FakePopUps::ExpectPopUp(std::u16string entry) {
  expected_.AddNext(std::move(entry));
}

void FakePopUps::Verify() {
  if (!expected_.TakeLeftOver().empty())
    screen_.on_failure("display: an announced menu never came");
}

std::vector<std::vector<PopUpEntry>> FakePopUps::pop_ups() const {
  const auto lock = screen_.Locked();
  return pop_ups_;
}

}  // namespace quillet::port
