// SPDX-License-Identifier: GPL-3.0-or-later
// Whether stored text is decoded before it is shown: one switch for all of mime/. Any thread.
#pragma once

namespace quillet {

// On until it is switched off. Off: stored text is shown byte for byte as code page 1252, and
// searched and compared so.
bool Decoding();
void SetDecoding(bool on);

}  // namespace quillet
