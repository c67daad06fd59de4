// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/linux_libraries.h"

#include <dlfcn.h>

#include <algorithm>
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

// How a library tells its version.
enum class Tells {
  kText,     // by a function without arguments
  kOpenSsl,  // by one that is asked for a kind of text
  kNumbers,  // by three numbers, of which the other two have names of their own
};

struct VersionName {
  std::u16string_view library;
  Tells tells;
  std::array<const char*, 3> exports;
};

constexpr auto kVersions = std::to_array<VersionName>({
    {u"Qt", Tells::kText, {"qVersion"}},
    {u"SQLite", Tells::kText, {"sqlite3_libversion"}},
    {u"OpenSSL", Tells::kOpenSsl, {"OpenSSL_version"}},
    {u"GMime",
     Tells::kNumbers,
     {"gmime_major_version", "gmime_minor_version", "gmime_micro_version"}},
    {u"GLib", Tells::kNumbers, {"glib_major_version", "glib_minor_version", "glib_micro_version"}},
});

// Wherever in the process; null when no library has it.
void* Exported(const char* name) {
  return dlsym(RTLD_DEFAULT, name);
}

// "OpenSSL 3.0.17 1 Jul 2025" is 3.0.17.
std::string NumberIn(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_of("0123456789"), text.size()));
  return std::string(text.substr(0, text.find(' ')));
}

std::string NumbersOf(const std::array<const char*, 3>& exports) {
  std::string version;
  for (const char* name : exports) {
    const auto* number = static_cast<const unsigned int*>(Exported(name));
    if (number == nullptr) return "";
    version += (version.empty() ? "" : ".") + std::to_string(*number);
  }
  return version;
}

// Empty when it is not there.
std::string VersionOf(const VersionName& name) {
  if (name.tells == Tells::kNumbers) return NumbersOf(name.exports);
  void* const found = Exported(name.exports[0]);
  if (found == nullptr) return "";
  if (name.tells == Tells::kText) return reinterpret_cast<const char* (*)()>(found)();
  constexpr int kWholeText = 0;
  return NumberIn(reinterpret_cast<const char* (*)(int)>(found)(kWholeText));
}

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

std::vector<LoadedLibrary> LinuxLibraries::LoadedLibraries() {
  std::vector<LoadedLibrary> libraries;
  for (const VersionName& name : kVersions) {
    const std::string version = VersionOf(name);
    if (!version.empty()) libraries.push_back({std::u16string(name.library), Widen(version)});
  }
  return libraries;
}

void LinuxLibraries::Unload(LibraryHandle library) {
  if (library != nullptr) dlclose(library);
}

}  // namespace quillet::port
