// SPDX-License-Identifier: GPL-3.0-or-later
// Registry values as JSON and from the words of a command. Pure.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "port/registry.h"
#include "script/json.h"

namespace quillet {

// {"name","found","type","value","hex"}; null: the value is missing.
JsonObject DescribeRegistryValue(std::u16string_view name, const port::RegistryValue* value);

// From "dword 5", "string TEXT", "multi A B", "binary HEX", "numbers 1 2" or "raw TYPE HEX".
// Nothing when the words do not make a value.
std::optional<port::RegistryValue> MakeRegistryValue(std::span<const std::u16string> words);

}  // namespace quillet
