// Decoding switched off as long as it lives.
#pragma once

#include "mime/decoding.h"

namespace quillet::testing {

class DecodingOff {
 public:
  DecodingOff() { SetDecoding(false); }
  ~DecodingOff() { SetDecoding(true); }
  DecodingOff(const DecodingOff&) = delete;
  DecodingOff& operator=(const DecodingOff&) = delete;
};

}  // namespace quillet::testing
