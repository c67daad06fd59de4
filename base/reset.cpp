// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/reset.h"

namespace quillet {
namespace {

// Made before any of them, whatever the order in which the sources are initialised.
constinit const ResetAtEnd* gFirst = nullptr;

}  // namespace

ResetAtEnd::ResetAtEnd(void (*reset)()) : reset_(reset), next_(gFirst) {
  gFirst = this;
}

void ResetProgram() {
  for (const ResetAtEnd* at = gFirst; at != nullptr; at = at->next_) at->reset_();
}

}  // namespace quillet
