// SPDX-License-Identifier: GPL-3.0-or-later
// A function of a library that was loaded at run time.
#pragma once

#include <dlfcn.h>

namespace quillet::port {

// False when the library lacks the name.
template <class Call>
bool BindCall(void* library, const char* name, Call& call) {
  call = reinterpret_cast<Call>(dlsym(library, name));
  return call != nullptr;
}

}  // namespace quillet::port
