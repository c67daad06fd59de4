// SPDX-License-Identifier: GPL-3.0-or-later
// The real libraries, but for a database library whose calls fail on demand and are counted.
#pragma once

#include <gdbm.h>

#include <string_view>

#include "port/linux/linux_libraries.h"

namespace quillet {

// The nth call from now on fails, alone or with all that follow.
struct FaultyCall {
  int in = 0;  // 0: none, or it has failed
  bool for_good = false;
  bool failed = false;

  bool Fails() {
    if (in > 0 && --in == 0) failed = true;
    const bool fails = failed;
    failed = failed && for_good;
    return fails;
  }
};

inline FaultyCall gFaultyStore;
inline FaultyCall gFaultyDelete;
// How often a chain record was read.
inline int gChainRecordsRead = 0;

class FaultyLibraries final : public port::Libraries {
 public:
  port::LibraryHandle Load(std::u16string_view name) override { return real_.Load(name); }
  void* Resolve(port::LibraryHandle library, const char* name) override {
    void* const found = real_.Resolve(library, name);
    if (found == nullptr) return found;
    if (std::string_view(name) == "gdbm_store") {
      gRealStore = reinterpret_cast<decltype(gRealStore)>(found);
      return reinterpret_cast<void*>(&Store);
    }
    if (std::string_view(name) == "gdbm_delete") {
      gRealDelete = reinterpret_cast<decltype(gRealDelete)>(found);
      return reinterpret_cast<void*>(&Delete);
    }
    if (std::string_view(name) == "gdbm_fetch") {
      gRealFetch = reinterpret_cast<decltype(gRealFetch)>(found);
      return reinterpret_cast<void*>(&Fetch);
    }
    return found;
  }
  void Unload(port::LibraryHandle library) override { real_.Unload(library); }
  std::vector<port::LoadedLibrary> LoadedLibraries() override { return real_.LoadedLibraries(); }

 private:
  static int Store(GDBM_FILE file, datum key, datum value, int flag) {
    return gFaultyStore.Fails() ? -1 : gRealStore(file, key, value, flag);
  }
  static int Delete(GDBM_FILE file, datum key) {
    return gFaultyDelete.Fails() ? -1 : gRealDelete(file, key);
  }
  static datum Fetch(GDBM_FILE file, datum key) {
    constexpr int kChainKeyLength = 4;
    if (key.dsize == kChainKeyLength) ++gChainRecordsRead;
    return gRealFetch(file, key);
  }

  inline static int (*gRealStore)(GDBM_FILE, datum, datum, int) = nullptr;
  inline static int (*gRealDelete)(GDBM_FILE, datum) = nullptr;
  inline static datum (*gRealFetch)(GDBM_FILE, datum) = nullptr;
  port::LinuxLibraries real_;
};

}  // namespace quillet
