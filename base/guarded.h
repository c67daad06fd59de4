// SPDX-License-Identifier: GPL-3.0-or-later
// Work that may run out of memory, with the report that the user then sees.
#pragma once

#include <new>
#include <string_view>
#include <type_traits>

#include "base/messages.h"

namespace quillet {

// What the work returns, or whether it came to its end when it returns nothing.
template <class Work>
using GuardedResult = std::conditional_t<std::is_void_v<std::invoke_result_t<Work&>>, bool,
                                         std::invoke_result_t<Work&>>;

// Runs the work and returns its result. When memory runs out, `report(reason, location)` is called
// and an empty result returned: false, null, nothing.
template <class Report, class Work>
GuardedResult<Work> GuardedBy(Report report, std::u16string_view location, Work&& work) {
  try {
    if constexpr (std::is_void_v<std::invoke_result_t<Work&>>) {
      work();
      return true;
    } else {
      return work();
    }
  } catch (const std::bad_alloc&) {
    report(u"out of memory", location);
    return {};
  }
}

// The program goes on after the report.
template <class Work>
GuardedResult<Work> Guarded(std::u16string_view location, Work&& work) {
  return GuardedBy(ReportError, location, work);
}

// The report is critical: the main window is closed.
template <class Work>
GuardedResult<Work> GuardedCritically(std::u16string_view location, Work&& work) {
  return GuardedBy(ReportCriticalError, location, work);
}

}  // namespace quillet
