// SPDX-License-Identifier: GPL-3.0-or-later
// Keys stand in a map by their whole path with ASCII letters folded; a handle holds its key by a
// shared pointer and notices by identity that the key was deleted meanwhile. In a transaction
// writes wait in the handle, which reads through them, and Commit applies all or, where it is made
// to fail, none.
#include "port/fake/fake_registry.h"

#include <utility>

#include "util/little_endian.h"
#include "util/text.h"

namespace quillet::port {
namespace {

using Key = FakeRegistry::Key;
using Store = FakeRegistry::Store;
using ValueMap = FakeRegistry::ValueMap;

std::u16string Fold(std::u16string_view text) {
  std::u16string folded(text);
  for (char16_t& unit : folded) {
    if (unit >= u'A' && unit <= u'Z') unit = static_cast<char16_t>(unit + 32);
  }
  return folded;
}

// Without empty components: no backslash at either end, none doubled.
std::u16string CleanPath(std::u16string_view path) {
  std::u16string clean;
  for (const char16_t unit : path) {
    if (unit != u'\\' || (!clean.empty() && clean.back() != u'\\')) clean.push_back(unit);
  }
  if (!clean.empty() && clean.back() == u'\\') clean.pop_back();
  return clean;
}

void PutValue(ValueMap& values, std::u16string_view name, RegistryType type,
              std::string_view data) {
  NamedRegistryValue& entry = values[Fold(name)];
  if (entry.name.empty()) entry.name = name;
  entry.value = {type, std::string(data)};
}

// The key and, where missing, all keys above it.
std::shared_ptr<Key> CreateKey(Store& store, std::u16string_view path) {
  const std::u16string clean = CleanPath(path);
  std::shared_ptr<Key> key;
  for (std::size_t end = 0; end != clean.npos;) {
    end = clean.find(u'\\', end + 1);
    const std::u16string part = clean.substr(0, end);
    std::shared_ptr<Key>& slot = store.keys[Fold(part)];
    if (!slot) slot = std::make_shared<Key>(Key{part, {}});
    key = slot;
  }
  return key;
}

void EraseKey(Store& store, const std::u16string& folded_path) {
  const std::u16string below = folded_path + u"\\";
  std::erase_if(store.keys, [&](const auto& entry) {
    return entry.first == folded_path || entry.first.starts_with(below);
  });
}

// A write that waits for Commit.
struct Write {
  bool delete_subkey = false;
  std::u16string name;
  RegistryValue value;
};

class FakeRegistryKey final : public RegistryKey {
 public:
  FakeRegistryKey(std::shared_ptr<Store> store, std::shared_ptr<Key> key)
      : store_(std::move(store)), key_(std::move(key)) {}

  std::optional<RegistryValue> Get(std::u16string_view name) override;
  bool Set(std::u16string_view name, RegistryType type, std::string_view data) override;
  bool DeleteSubkey(std::u16string_view name) override;
  std::vector<std::u16string> Subkeys() override;
  std::vector<NamedRegistryValue> Values() override;
  bool Begin() override;
  bool Commit() override;

 private:
  // False once the key was deleted.
  bool Alive() const;
  ValueMap CurrentValues() const;
  bool Deleted(const std::u16string& folded_subkey) const;
  std::u16string SubkeyPath(std::u16string_view name) const;
  void Apply(const Write& write);

  std::shared_ptr<Store> store_;
  std::shared_ptr<Key> key_;
  bool in_transaction_ = false;
  std::vector<Write> waiting_;
};

bool FakeRegistryKey::Alive() const {
  const auto found = store_->keys.find(Fold(key_->path));
  return found != store_->keys.end() && found->second == key_;
}

// A key sees its own writes before they are committed.
ValueMap FakeRegistryKey::CurrentValues() const {
  ValueMap values;
  if (Alive()) values = key_->values;
  for (const Write& write : waiting_) {
    if (!write.delete_subkey) PutValue(values, write.name, write.value.type, write.value.data);
  }
  return values;
}

std::optional<RegistryValue> FakeRegistryKey::Get(std::u16string_view name) {
  const std::lock_guard lock(store_->mutex);
  const ValueMap values = CurrentValues();
  const auto found = values.find(Fold(name));
  if (found == values.end()) return std::nullopt;
  return found->second.value;
}

bool FakeRegistryKey::Set(std::u16string_view name, RegistryType type, std::string_view data) {
  const std::lock_guard lock(store_->mutex);
  if (store_->set.Hits() || store_->read_only || !Alive()) return false;
  Write write{false, std::u16string(name), {type, std::string(data)}};
  if (in_transaction_) {
    waiting_.push_back(std::move(write));
  } else {
    Apply(write);
  }
  return true;
}

std::u16string FakeRegistryKey::SubkeyPath(std::u16string_view name) const {
  return Fold(key_->path + u"\\" + CleanPath(name));
}

bool FakeRegistryKey::Deleted(const std::u16string& folded_subkey) const {
  for (const Write& write : waiting_) {
    if (write.delete_subkey && SubkeyPath(write.name) == folded_subkey) return true;
  }
  return false;
}

bool FakeRegistryKey::DeleteSubkey(std::u16string_view name) {
  const std::lock_guard lock(store_->mutex);
  if (store_->read_only || !Alive() || CleanPath(name).empty()) return false;
  const std::u16string path = SubkeyPath(name);
  if (!store_->keys.contains(path) || Deleted(path)) return false;
  Write write{true, std::u16string(name), {}};
  if (in_transaction_) {
    waiting_.push_back(std::move(write));
  } else {
    Apply(write);
  }
  return true;
}

void FakeRegistryKey::Apply(const Write& write) {
  if (write.delete_subkey) {
    EraseKey(*store_, SubkeyPath(write.name));
  } else {
    PutValue(key_->values, write.name, write.value.type, write.value.data);
  }
}

std::vector<std::u16string> FakeRegistryKey::Subkeys() {
  const std::lock_guard lock(store_->mutex);
  std::vector<std::u16string> names;
  if (!Alive()) return names;
  const std::size_t below = key_->path.size() + 1;
  const std::u16string prefix = Fold(key_->path) + u"\\";
  for (auto entry = store_->keys.upper_bound(prefix);
       entry != store_->keys.end() && entry->first.starts_with(prefix); ++entry) {
    const std::u16string name = entry->second->path.substr(below);
    if (name.find(u'\\') == name.npos && !Deleted(entry->first)) names.push_back(name);
  }
  return names;
}

std::vector<NamedRegistryValue> FakeRegistryKey::Values() {
  const std::lock_guard lock(store_->mutex);
  std::vector<NamedRegistryValue> all;
  for (const auto& entry : CurrentValues()) all.push_back(entry.second);
  return all;
}

bool FakeRegistryKey::Begin() {
  const std::lock_guard lock(store_->mutex);
  if (in_transaction_ || store_->begin.Hits() || store_->read_only) return false;
  in_transaction_ = true;
  return true;
}

bool FakeRegistryKey::Commit() {
  const std::lock_guard lock(store_->mutex);
  if (!in_transaction_) return false;
  in_transaction_ = false;
  const std::vector<Write> writes = std::exchange(waiting_, {});
  if (store_->commit.Hits() || store_->read_only || !Alive()) return false;
  for (const Write& write : writes) Apply(write);
  return true;
}

}  // namespace

std::unique_ptr<RegistryKey> FakeRegistry::Open(std::u16string_view path) {
  const std::lock_guard lock(store_->mutex);
  if (store_->open.Hits()) return nullptr;
  const auto found = store_->keys.find(Fold(CleanPath(path)));
  if (found == store_->keys.end()) return nullptr;
  return std::make_unique<FakeRegistryKey>(store_, found->second);
}

std::unique_ptr<RegistryKey> FakeRegistry::Create(std::u16string_view path) {
  const std::lock_guard lock(store_->mutex);
  if (store_->create.Hits() || CleanPath(path).empty()) return nullptr;
  if (store_->read_only && !store_->keys.contains(Fold(CleanPath(path)))) return nullptr;
  return std::make_unique<FakeRegistryKey>(store_, CreateKey(*store_, path));
}

void FakeRegistry::FailOpen(int n) {
  const std::lock_guard lock(store_->mutex);
  store_->open.Arm(n);
}

void FakeRegistry::FailCreate(int n) {
  const std::lock_guard lock(store_->mutex);
  store_->create.Arm(n);
}

void FakeRegistry::FailSet(int n) {
  const std::lock_guard lock(store_->mutex);
  store_->set.Arm(n);
}

void FakeRegistry::FailBegin(int n) {
  const std::lock_guard lock(store_->mutex);
  store_->begin.Arm(n);
}

void FakeRegistry::FailCommit(int n) {
  const std::lock_guard lock(store_->mutex);
  store_->commit.Arm(n);
}

void FakeRegistry::SetReadOnly(bool read_only) {
  const std::lock_guard lock(store_->mutex);
  store_->read_only = read_only;
}

int FakeRegistry::sets() const {
  const std::lock_guard lock(store_->mutex);
  return store_->set.calls();
}

void FakeRegistry::Put(std::u16string_view path, std::u16string_view name, RegistryType type,
                       std::string_view data) {
  const std::lock_guard lock(store_->mutex);
  if (const auto key = CreateKey(*store_, path)) PutValue(key->values, name, type, data);
}

void FakeRegistry::PutDword(std::u16string_view path, std::u16string_view name,
                            std::uint32_t number) {
  std::string data;
  AppendU32(data, number);
  Put(path, name, RegistryType::kDword, data);
}

void FakeRegistry::PutString(std::u16string_view path, std::u16string_view name,
                             std::u16string_view text) {
  std::string data;
  for (const char16_t unit : std::u16string(text) + u'\0') {
    data.push_back(static_cast<char>(unit & 0xFF));
    data.push_back(static_cast<char>(unit >> 8));
  }
  Put(path, name, RegistryType::kString, data);
}

std::optional<RegistryValue> FakeRegistry::Find(std::u16string_view path,
                                                std::u16string_view name) const {
  const std::lock_guard lock(store_->mutex);
  const auto key = store_->keys.find(Fold(CleanPath(path)));
  if (key == store_->keys.end()) return std::nullopt;
  const auto value = key->second->values.find(Fold(name));
  if (value == key->second->values.end()) return std::nullopt;
  return value->second.value;
}

std::optional<std::uint32_t> FakeRegistry::FindDword(std::u16string_view path,
                                                     std::u16string_view name) const {
  const auto value = Find(path, name);
  if (!value || value->type != RegistryType::kDword || value->data.size() != 4) return std::nullopt;
  return GetU32(value->data, 0);
}

std::optional<std::u16string> FakeRegistry::FindString(std::u16string_view path,
                                                       std::u16string_view name) const {
  const auto value = Find(path, name);
  if (!value || value->type != RegistryType::kString) return std::nullopt;
  std::u16string text;
  for (std::size_t at = 0; at + 2 <= value->data.size(); at += 2) {
    const auto low = static_cast<unsigned char>(value->data[at]);
    const auto high = static_cast<unsigned char>(value->data[at + 1]);
    text.push_back(static_cast<char16_t>(low | high << 8));
  }
  if (!text.empty() && text.back() == u'\0') text.pop_back();
  return text;
}

void FakeRegistry::Erase(std::u16string_view path, std::u16string_view name) {
  const std::lock_guard lock(store_->mutex);
  const auto key = store_->keys.find(Fold(CleanPath(path)));
  if (key != store_->keys.end()) key->second->values.erase(Fold(name));
}

bool FakeRegistry::KeyExists(std::u16string_view path) const {
  const std::lock_guard lock(store_->mutex);
  return store_->keys.contains(Fold(CleanPath(path)));
}

std::vector<std::u16string> FakeRegistry::Keys() const {
  const std::lock_guard lock(store_->mutex);
  std::vector<std::u16string> paths;
  for (const auto& entry : store_->keys) paths.push_back(entry.second->path);
  return paths;
}

}  // namespace quillet::port
