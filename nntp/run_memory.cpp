// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/run_memory.h"

#include "base/reset.h"

namespace quillet {

RunMemory gRun;

namespace {

const ResetAtEnd kReset([] { gRun = {}; });

}  // namespace
}  // namespace quillet
