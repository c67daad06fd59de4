// SPDX-License-Identifier: GPL-3.0-or-later
// GMime, which reads and writes fields of MIME here. Any thread.
#pragma once

namespace quillet {

// Before the first call of the library; later ones do nothing. It stays started.
void StartMimeLibrary();

}  // namespace quillet
