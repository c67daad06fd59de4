// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/linux_libraries.h"

#include <dlfcn.h>

#include <array>
#include <string>

#include "util/text.h"

namespace quillet::port {
namespace {

struct LibraryName {
  std::u16string_view device;
  const char* soname;
};

// Several lines with one device name are tried in this order.
constexpr auto kLibraries = std::to_array<LibraryName>({
    {u"gdbmce.dll", "libgdbm.so.6"},
    {u"bzip2ce.dll", "libbz2.so.1.0"},
    {u"bzip2ce.dll", "libbz2.so.1"},
});

struct ExportName {
  std::string_view device;
  const char* native;
};

// Exports of the device's libraries that are macros over an accessor function here.
constexpr auto kAccessors = std::to_array<ExportName>({
    {"gdbm_errno", "gdbm_errno_location"},
});

LibraryHandle Open(const char* name) {
  return dlopen(name, RTLD_NOW | RTLD_LOCAL);
}

}  // namespace

LibraryHandle LinuxLibraries::Load(std::u16string_view name) {
  if (name.find(u'\0') != std::u16string_view::npos) return nullptr;
  if (name.starts_with(u'/')) return Open(ToUtf8(name).c_str());
  for (const LibraryName& library : kLibraries) {
    if (!EqualsNoCase(name, library.device)) continue;
    if (LibraryHandle handle = Open(library.soname)) return handle;
  }
  return nullptr;
}

void* LinuxLibraries::Resolve(LibraryHandle library, const char* name) {
  // A null handle would make the linker search the whole program.
  if (library == nullptr || name == nullptr) return nullptr;
  for (const ExportName& accessor : kAccessors) {
    if (accessor.device == name) return dlsym(library, accessor.native);
  }
  return dlsym(library, name);
}

void LinuxLibraries::Unload(LibraryHandle library) {
  if (library != nullptr) dlclose(library);
}

}  // namespace quillet::port
