// The dialog forms as tables, generated from the .ui files of this folder at build time, for
// displays that draw no widgets.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quillet {

enum class ControlKind { kButton, kText, kEdit, kCheckBox, kProgressBar, kDropDown, kOther };

struct ControlTemplate {
  std::uint32_t id = 0;  // 0: a label without a control id
  ControlKind kind = ControlKind::kOther;
  std::u16string_view text;
  std::u16string_view accessible_name;
};

struct DialogTemplate {
  std::uint32_t id = 0;  // resource id
  std::u16string_view caption;
  std::span<const ControlTemplate> controls;  // in template order
};

std::span<const DialogTemplate> DialogTemplates();
// Null when there is no such form.
const DialogTemplate* FindDialogTemplate(std::uint32_t id);

}  // namespace quillet
