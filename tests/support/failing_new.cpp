// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/failing_new.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

namespace {

thread_local int fail_new_in = 0;
thread_local int fail_nothrow_in = 0;
thread_local bool fail_every_nothrow = false;
thread_local unsigned long limit = 0;
thread_local unsigned long fail_size = 0;
thread_local unsigned long largest = 0;

bool Hits(int& in) {
  return in > 0 && --in == 0;
}

bool ThrowingNewFails(std::size_t size) {
  largest = std::max<unsigned long>(largest, size);
  if (limit != 0 && size > limit) return true;
  if (fail_size != 0 && size >= fail_size) {
    fail_size = 0;
    return true;
  }
  return Hits(fail_new_in);
}

}  // namespace

namespace quillet::testing {

void FailNthNew(int n) {
  fail_new_in = n;
}
void FailNthNothrowNew(int n) {
  fail_nothrow_in = n;
}
void FailEveryNothrowNew(bool on) {
  fail_every_nothrow = on;
}
void LimitNew(unsigned long bytes) {
  limit = bytes;
}
void FailNewOfAtLeast(unsigned long bytes) {
  fail_size = bytes;
}
unsigned long TakeLargestNew() {
  return std::exchange(largest, 0);
}

}  // namespace quillet::testing

void* operator new(std::size_t size) {
  void* memory = ThrowingNewFails(size) ? nullptr : std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return fail_every_nothrow || Hits(fail_nothrow_in) ? nullptr : std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
  std::free(memory);
}
// Arrays too: a sanitizer has operators of its own for them.
void* operator new[](std::size_t size) {
  return operator new(size);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
