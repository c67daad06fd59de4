// SPDX-License-Identifier: GPL-3.0-or-later
// The editor that has the whole article as one text. Only for post/.
#pragma once

#include "post/editor_window.h"

namespace quillet {

const EditorKind& FullEditor();

}  // namespace quillet
