// SPDX-License-Identifier: GPL-3.0-or-later
// The one way records are made: zero-filled, or a critical report under the constructor's name.
#pragma once

#include <memory>
#include <new>
#include <string_view>

#include "base/messages.h"

namespace quillet {

// Null after the report "out of memory" in `constructor`.
template <class Record>
std::unique_ptr<Record> NewRecord(std::u16string_view constructor) {
  std::unique_ptr<Record> record(new (std::nothrow) Record());
  if (!record) ReportCriticalError(u"out of memory", constructor);
  return record;
}

}  // namespace quillet
