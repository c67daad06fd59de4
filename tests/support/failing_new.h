// SPDX-License-Identifier: GPL-3.0-or-later
// Memory that runs out on demand: link failing_new.cpp into a test and every operator new of its
// program is counted here, per thread.
#pragma once

namespace quillet::testing {

// The nth throwing allocation of this thread from now on fails once (1: the next); 0: none.
void FailNthNew(int n);
// The same for operator new (std::nothrow).
void FailNthNothrowNew(int n);
// Every operator new (std::nothrow) fails while it is on.
void FailEveryNothrowNew(bool on);
// Every throwing allocation of more than that many bytes fails; 0: no limit.
void LimitNew(unsigned long bytes);
// The next throwing allocation of at least that many bytes fails once; 0: none.
void FailNewOfAtLeast(unsigned long bytes);
// The largest throwing allocation of this thread since the last call, in bytes.
unsigned long TakeLargestNew();

}  // namespace quillet::testing
