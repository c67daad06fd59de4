// SPDX-License-Identifier: GPL-3.0-or-later
// Stored text is not decoded while this lives.
#pragma once

#include "mime/decoding.h"

namespace quillet::testing {

class WithoutDecoding {
 public:
  WithoutDecoding() { SetDecoding(false); }
  ~WithoutDecoding() { SetDecoding(true); }
  WithoutDecoding(const WithoutDecoding&) = delete;
  WithoutDecoding& operator=(const WithoutDecoding&) = delete;
};

}  // namespace quillet::testing
