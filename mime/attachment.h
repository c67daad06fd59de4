// SPDX-License-Identifier: GPL-3.0-or-later
// Names of attachments. Pure; any thread. AttachmentLine and SafeFileName are declared in
// mime/body.h.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillet {

// The name as it is shown, of an article's attachment number `number` (from 1): what came, on one
// line; "attachment-1.jpg" by the type where nothing came.
std::u16string AttachmentName(std::u16string_view came, std::string_view type, std::size_t number);

}  // namespace quillet
