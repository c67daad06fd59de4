// SPDX-License-Identifier: GPL-3.0-or-later
// The editor that has the body as its text and the header fields one at a time. Only for post/.
#pragma once

#include "post/editor_window.h"

namespace quillet {

const EditorKind& SimpleEditor();

}  // namespace quillet
