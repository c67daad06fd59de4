// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/decoding.h"

#include <atomic>

namespace quillet {
namespace {

std::atomic<bool> gDecoding{true};

}  // namespace

bool Decoding() {
  return gDecoding;
}

void SetDecoding(bool on) {
  gDecoding = on;
}

}  // namespace quillet
