// SPDX-License-Identifier: GPL-3.0-or-later
// What dialogs do with a text that is to be typed over.
#pragma once

#include "port/dialogs.h"

namespace quillet {

inline void SelectText(port::Dialogs& dialogs, port::WindowHandle dialog, std::uint32_t control) {
  dialogs.WriteMany(dialog,
                    {{control, port::Focus{}}, {control, port::TextState{0, port::kWholeText}}});
}

}  // namespace quillet
