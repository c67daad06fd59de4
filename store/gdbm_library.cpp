// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/gdbm_library.h"

#include <array>
#include <type_traits>

#include "port/platform.h"

namespace quillet {

GdbmLibrary gGdbm;

namespace {

struct Entry {
  const char* name;
  void (*set)(GdbmLibrary& library, void* address);
};

template <auto Member>
void Set(GdbmLibrary& library, void* address) {
  using Pointer = std::remove_reference_t<decltype(library.*Member)>;
  library.*Member = reinterpret_cast<Pointer>(address);
}

constexpr auto kRequired = std::to_array<Entry>({
    {"gdbm_open", Set<&GdbmLibrary::open>},
    {"gdbm_close", Set<&GdbmLibrary::close>},
    {"gdbm_store", Set<&GdbmLibrary::store>},
    {"gdbm_fetch", Set<&GdbmLibrary::fetch>},
    {"gdbm_delete", Set<&GdbmLibrary::remove>},
    {"gdbm_firstkey", Set<&GdbmLibrary::firstkey>},
    {"gdbm_nextkey", Set<&GdbmLibrary::nextkey>},
    {"gdbm_reorganize", Set<&GdbmLibrary::reorganize>},
    {"gdbm_sync", Set<&GdbmLibrary::sync>},
    {"gdbm_exists", Set<&GdbmLibrary::exists>},
    {"gdbm_setopt", Set<&GdbmLibrary::setopt>},
    {"gdbm_errno", Set<&GdbmLibrary::errno_location>},
    {"gdbm_version", Set<&GdbmLibrary::version>},
});

constexpr auto kOptional = std::to_array<Entry>({
    {"gdbm_needs_recovery", Set<&GdbmLibrary::needs_recovery>},
    {"gdbm_recover", Set<&GdbmLibrary::recover>},
    {"gdbm_strerror", Set<&GdbmLibrary::strerror>},
});

bool ResolveRequired(GdbmLibrary& library) {
  for (const Entry& entry : kRequired) {
    void* const address = gPlatform->libraries.Resolve(library.handle, entry.name);
    if (address == nullptr) return false;
    entry.set(library, address);
  }
  return true;
}

}  // namespace

bool BindGdbm() {
  if (gGdbm.handle != nullptr) return true;
  GdbmLibrary library;
  library.handle = gPlatform->libraries.Load(u"gdbmce.dll");
  if (library.handle == nullptr) return false;
  if (!ResolveRequired(library)) {
    gPlatform->libraries.Unload(library.handle);
    return false;
  }
  for (const Entry& entry : kOptional) {
    entry.set(library, gPlatform->libraries.Resolve(library.handle, entry.name));
  }
  gGdbm = library;
  return true;
}

int GdbmError() {
  return gGdbm.errno_location == nullptr ? GDBM_NO_ERROR : *gGdbm.errno_location();
}

}  // namespace quillet
