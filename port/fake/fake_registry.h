// SPDX-License-Identifier: GPL-3.0-or-later
// The registry in memory. Any thread.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "port/registry.h"

namespace quillet::port {

// Which calls of a kind fail: the nth from now on, once.
class Fault {
 public:
  void Arm(int n) { in_ = n; }
  // Counts a call; true when it is the one that fails.
  bool Hits() {
    ++calls_;
    return in_ > 0 && --in_ == 0;
  }
  int calls() const { return calls_; }

 private:
  int in_ = 0;
  int calls_ = 0;
};

class FakeRegistry final : public Registry {
 public:
  std::unique_ptr<RegistryKey> Open(std::u16string_view path) override;
  std::unique_ptr<RegistryKey> Create(std::u16string_view path) override;

  std::u16string DamagedFile() const override { return damaged_file; }
  // What DamagedFile answers.
  std::u16string damaged_file;
  std::u16string Obstacle() override { return obstacle; }
  // What Obstacle answers; Open and Create fail only when they are made to.
  std::u16string obstacle;

  // The nth such call from now on (1: the next) fails once; 0 takes that back.
  void FailOpen(int n);
  void FailCreate(int n);
  void FailSet(int n);
  void FailBegin(int n);
  void FailCommit(int n);
  // From now on every write fails, as on a full disk.
  void SetReadOnly(bool read_only);
  // Calls of RegistryKey::Set so far, failed ones included.
  int sets() const;

  // For the test itself: never fail and are not counted.
  void Put(std::u16string_view path, std::u16string_view name, RegistryType type,
           std::string_view data);
  void PutDword(std::u16string_view path, std::u16string_view name, std::uint32_t number);
  void PutString(std::u16string_view path, std::u16string_view name, std::u16string_view text);
  std::optional<RegistryValue> Find(std::u16string_view path, std::u16string_view name) const;
  // Nothing for a missing value, another type or other than 4 bytes.
  std::optional<std::uint32_t> FindDword(std::u16string_view path, std::u16string_view name) const;
  // Without the terminating NUL; nothing for a missing value or another type.
  std::optional<std::u16string> FindString(std::u16string_view path,
                                           std::u16string_view name) const;
  void Erase(std::u16string_view path, std::u16string_view name);
  bool KeyExists(std::u16string_view path) const;
  // The paths of all keys in the spelling of their creation, sorted without regard to case.
  std::vector<std::u16string> Keys() const;

  // Names and paths compare by this: ASCII letters in lower case.
  using ValueMap = std::map<std::u16string, NamedRegistryValue>;  // by folded name
  struct Key {
    std::u16string path;  // as first written
    ValueMap values;
  };
  struct Store {
    std::mutex mutex;
    std::map<std::u16string, std::shared_ptr<Key>> keys;  // by folded path
    Fault open, create, set, begin, commit;
    bool read_only = false;
  };

 private:
  std::shared_ptr<Store> store_ = std::make_shared<Store>();
};

}  // namespace quillet::port
