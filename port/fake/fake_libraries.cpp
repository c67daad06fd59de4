// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/fake_libraries.h"

namespace quillet::port {

LibraryHandle FakeLibraries::Load(std::u16string_view name) {
  if (hidden_libraries_.contains(name)) return nullptr;
  LibraryHandle library = real_.Load(name);
  if (library != nullptr) ++loaded_;
  return library;
}

void* FakeLibraries::Resolve(LibraryHandle library, const char* name) {
  if (name == nullptr || hidden_.contains(std::string_view(name))) return nullptr;
  return real_.Resolve(library, name);
}

void FakeLibraries::Unload(LibraryHandle library) {
  if (library != nullptr) --loaded_;
  real_.Unload(library);
}

void FakeLibraries::show_all() {
  hidden_.clear();
  hidden_libraries_.clear();
}

}  // namespace quillet::port
