// SPDX-License-Identifier: GPL-3.0-or-later
// Shared libraries bound at run time, named as on the device ("gdbmce.dll", "bzip2ce.dll").
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillet::port {

using LibraryHandle = void*;

// A library and its version, as they are shown to the user.
struct LoadedLibrary {
  std::u16string name;
  std::u16string version;
};

class Libraries {
 public:
  virtual ~Libraries() = default;

  // Null when there is no such library.
  virtual LibraryHandle Load(std::u16string_view name) = 0;
  // The address of an exported name; null when the library lacks it. A name under which the
  // device's library exports data or a macro yields the accessor function that stands for it here
  // ("gdbm_errno": int* (*)()).
  virtual void* Resolve(LibraryHandle library, const char* name) = 0;
  virtual void Unload(LibraryHandle library) = 0;

  // Those on which the process stands whatever is bound by name, as the system has loaded them; one
  // that tells no version is left out. Any thread.
  virtual std::vector<LoadedLibrary> LoadedLibraries() = 0;
};

}  // namespace quillet::port
