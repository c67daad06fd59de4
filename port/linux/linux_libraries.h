// SPDX-License-Identifier: GPL-3.0-or-later
// Shared libraries over the dynamic linker. A device name stands for the sonames that offer the
// same functions; a name that begins with "/" is the native path of a library.
#pragma once

#include "port/libraries.h"

namespace quillet::port {

class LinuxLibraries final : public Libraries {
 public:
  LibraryHandle Load(std::u16string_view name) override;
  void* Resolve(LibraryHandle library, const char* name) override;
  void Unload(LibraryHandle library) override;
  std::vector<LoadedLibrary> LoadedLibraries() override;
};

}  // namespace quillet::port
