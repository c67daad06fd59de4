// SPDX-License-Identifier: GPL-3.0-or-later
// The real shared libraries, of which a test hides names or whole libraries.
#pragma once

#include <set>
#include <string>

#include "port/linux/linux_libraries.h"

namespace quillet::port {

class FakeLibraries final : public Libraries {
 public:
  LibraryHandle Load(std::u16string_view name) override;
  void* Resolve(LibraryHandle library, const char* name) override;
  void Unload(LibraryHandle library) override;
  std::vector<LoadedLibrary> LoadedLibraries() override { return loaded_libraries; }

  // What the process is said to stand on.
  std::vector<LoadedLibrary> loaded_libraries = {{u"Qt", u"6.4.2"}, {u"SQLite", u"3.40.1"}};

  // From now on the libraries lack that export, or there is no library of that name.
  void hide(std::string name) { hidden_.insert(std::move(name)); }
  void hide_library(std::u16string name) { hidden_libraries_.insert(std::move(name)); }
  void show_all();
  // Libraries loaded and not unloaded.
  int loaded() const { return loaded_; }

 private:
  LinuxLibraries real_;
  std::set<std::string, std::less<>> hidden_;
  std::set<std::u16string, std::less<>> hidden_libraries_;
  int loaded_ = 0;
};

}  // namespace quillet::port
