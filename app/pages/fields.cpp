// SPDX-License-Identifier: GPL-3.0-or-later
// One function a kind of field and direction. What cannot be stored as it was typed, a text above
// its length or a number that is none, is never stored in part without a word: texts are held to
// their length by the forms already, numbers are refused.
#include "app/pages/fields.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "base/empty_entry.h"
#include "base/registry_values.h"
#include "base/server_security.h"
#include "port/platform.h"
#include "port/windows.h"
#include "util/blanks.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr std::u16string_view kDefaultFace = u"<default>";
constexpr std::array<std::u16string_view, 8> kSizes = {
    u"tiny", u"very small", u"small", u"medium", u"large", u"very large", u"huge", u"enormous"};

using Writes = std::vector<port::ControlWrite>;

// --- Into the controls ---------------------------------------------------------------------------

struct FieldWriter {
  const Prefs& prefs;
  std::uint32_t control;
  Writes& writes;

  void Add(port::ControlValue value) const { writes.push_back({control, std::move(value)}); }

  void operator()(const TextEdit& edit) const { Add(port::Text{prefs.*edit.text}); }
  void operator()(const NumberEdit& edit) const {
    Add(port::Text{FormatWide(u"%lu", prefs.*edit.number)});
  }
  void operator()(const CheckBox& box) const {
    Add(port::Checked{(prefs.*box.flag != 0) != box.inverse});
  }
  void operator()(const RadioButton& button) const {
    if (prefs.*button.number == button.value) Add(port::Checked{true});
  }
  void operator()(const FaceList& list) const;
  void operator()(const SizeList& list) const;
  void operator()(const PercentSlider& slider) const {
    Add(port::Range{100, 0});
    Add(port::Position{static_cast<int>(prefs.*slider.percent)});
  }
  void operator()(const TimePicker& picker) const {
    Add(port::TimeOfDay{static_cast<int>(prefs.*picker.hour),
                        static_cast<int>(prefs.*picker.minute),
                        static_cast<int>(prefs.*picker.second)});
  }
};

int RowOfSize(std::uint32_t size) {
  return std::clamp(static_cast<int>(size) - 1, 0, static_cast<int>(kSizes.size()) - 1);
}

void FieldWriter::operator()(const FaceList& list) const {
  const std::u16string& face = prefs.*list.face;
  std::vector<std::u16string> faces = gPlatform->windows.Fonts();
  if (list.offers_default) faces.insert(faces.begin(), std::u16string(kDefaultFace));
  auto place = std::ranges::find(faces, face);
  if (place == faces.end()) place = faces.insert(faces.begin(), face);
  const auto chosen = static_cast<int>(place - faces.begin());
  Add(port::Choices{std::move(faces)});
  Add(port::Choice{chosen});
}

void FieldWriter::operator()(const SizeList& list) const {
  Add(port::Choices{{kSizes.begin(), kSizes.end()}});
  Add(port::Choice{RowOfSize(prefs.*list.size)});
}

// --- And back ------------------------------------------------------------------------------------

struct FieldReader {
  PrefsSheet& sheet;
  std::uint32_t control;
  const port::ControlState& state;

  Prefs& prefs() const { return *sheet.copy; }
  void Set(std::uint32_t Prefs::*member, std::uint32_t value) const {
    SetIn(sheet, prefs().*member, value);
  }

  using Result = std::optional<Refusal>;

  Result operator()(const TextEdit& edit) const {
    // A text that nobody touched stays as it is stored, whatever an edit makes of it.
    if (!state.text_state.changed) return {};
    std::u16string text = StorableText(state.text, edit.many_lines);
    if (edit.cut_at == 0) {
      if (Result refusal = RefusalOfLength(control, text)) return refusal;
    } else {
      text.resize(std::min(text.size(), edit.cut_at));
    }
    SetIn(sheet, prefs().*edit.text, text);
    return {};
  }
  Result operator()(const NumberEdit& edit) const {
    const std::optional<std::uint32_t> number = NumberIn(state.text, edit.highest);
    if (!number) return RefusedNumber(control, edit.name, edit.highest);
    Set(edit.number, std::max(*number, 1U));
    return {};
  }
  Result operator()(const CheckBox& box) const {
    // Any number but 0 is a stored "yes", and stays the number that it is.
    const bool flag = state.checked != box.inverse;
    if (flag != (prefs().*box.flag != 0)) Set(box.flag, flag ? 1 : 0);
    return {};
  }
  Result operator()(const RadioButton& button) const {
    if (state.checked) Set(button.number, button.value);
    return {};
  }
  Result operator()(const FaceList& list) const {
    if (state.choice >= 0) SetIn(sheet, prefs().*list.face, state.text);
    return {};
  }
  Result operator()(const SizeList& list) const {
    const bool other = state.choice >= 0 && state.choice != RowOfSize(prefs().*list.size);
    if (other) Set(list.size, static_cast<std::uint32_t>(state.choice) + 1);
    return {};
  }
  Result operator()(const PercentSlider& slider) const {
    Set(slider.percent, static_cast<std::uint32_t>(state.position));
    return {};
  }
  Result operator()(const TimePicker& picker) const {
    Set(picker.hour, static_cast<std::uint32_t>(state.time.hour));
    Set(picker.minute, static_cast<std::uint32_t>(state.time.minute));
    Set(picker.second, static_cast<std::uint32_t>(state.time.second));
    return {};
  }
};

}  // namespace

void ShowFields(const PrefsSheet& sheet, port::WindowHandle page,
                std::span<const PageField> fields) {
  Writes writes;
  for (const PageField& field : fields) {
    std::visit(FieldWriter{*sheet.copy, field.control, writes}, field.edits);
  }
  gPlatform->dialogs.WriteMany(page, std::move(writes));
}

std::optional<Refusal> StoreFields(PrefsSheet& sheet, port::WindowHandle page,
                                   std::span<const PageField> fields) {
  const std::map<std::uint32_t, port::ControlState> states = gPlatform->dialogs.ReadAll(page);
  std::optional<Refusal> refusal;
  for (const PageField& field : fields) {
    const auto state = states.find(field.control);
    if (state == states.end()) continue;  // the display has gone
    auto refused = std::visit(FieldReader{sheet, field.control, state->second}, field.edits);
    if (refused && !refusal) refusal = std::move(refused);
  }
  return refusal;
}

Refusal RefusedNumber(std::uint32_t control, std::u16string_view name, std::uint32_t highest) {
  return {FormatWide(u"The %ls must be a number from 1 to %lu.", name, highest), control};
}

std::u16string StorableText(std::u16string_view text, bool many_lines) {
  text = text.substr(0, text.find(u'\0'));
  text.remove_prefix(std::min(text.find_first_not_of(kEmptyEntryMark), text.size()));
  std::u16string stored(text);
  if (many_lines) return stored;
  std::ranges::replace_if(
      stored, [](char16_t unit) { return unit == u'\r' || unit == u'\n'; }, u' ');
  return stored;
}

std::optional<Refusal> RefusalOfLength(std::uint32_t control, std::u16string_view text) {
  if (text.size() <= kLongestRegistryText) return std::nullopt;
  return Refusal{FormatWide(u"This text has %lu characters, but only %lu can be kept. Please "
                            u"shorten it.",
                            text.size(), kLongestRegistryText),
                 control};
}

std::optional<std::uint32_t> NumberIn(std::u16string_view text, std::uint32_t highest) {
  text = Trimmed(text);
  if (text.empty()) return std::nullopt;
  std::uint64_t number = 0;
  for (const char16_t unit : text) {
    if (unit < u'0' || unit > u'9') return std::nullopt;
    number = number * 10 + static_cast<std::uint64_t>(unit - u'0');
    if (number > highest) return std::nullopt;
  }
  return static_cast<std::uint32_t>(number);
}

void LetPortFollow(port::WindowHandle dialog, std::uint32_t security_control,
                   std::uint32_t port_control) {
  port::Dialogs& dialogs = gPlatform->dialogs;
  const int choice = dialogs.Read(dialog, security_control).choice;
  const auto port = NumberIn(dialogs.Read(dialog, port_control).text, kHighestPort);
  if (choice < 0 || !port) return;
  const std::uint32_t wanted = PortFor(static_cast<ServerSecurity>(choice), *port);
  if (wanted == *port) return;
  dialogs.Write(dialog, port_control, port::Text{FormatWide(u"%lu", wanted)});
}

}  // namespace quillet
