// SPDX-License-Identifier: GPL-3.0-or-later
// The registry: keys with typed values of any byte length. Key paths use backslashes; key and value
// names are matched without regard to ASCII case and keep the spelling of their first write.
// Thread: any, one thread at a time per key.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillet::port {

// The numbers are the stored ones. A type says nothing about the size of the data.
enum class RegistryType : std::uint32_t { kString = 1, kBinary = 3, kDword = 4, kMultiString = 7 };

struct RegistryValue {
  RegistryType type = RegistryType::kBinary;
  std::string data;  // raw bytes; texts are UTF-16 little-endian with their terminating NUL
};

struct NamedRegistryValue {
  std::u16string name;
  RegistryValue value;
};

// An open key; closing it is destroying it.
class RegistryKey {
 public:
  virtual ~RegistryKey() = default;

  // Nothing when the value is missing or cannot be read.
  virtual std::optional<RegistryValue> Get(std::u16string_view name) = 0;
  // Creates or replaces a value; false when it could not be written (disk full, read-only).
  virtual bool Set(std::u16string_view name, RegistryType type, std::string_view data) = 0;
  // Removes the subkey of that name with all below it; false when there is none. Never touches a
  // value, also when a value has that name.
  virtual bool DeleteSubkey(std::u16string_view name) = 0;
  // Names of the keys directly below, as they were first written, sorted without regard to case.
  virtual std::vector<std::u16string> Subkeys() = 0;
  // All values, ordered by name.
  virtual std::vector<NamedRegistryValue> Values() = 0;

  // Writes between Begin and Commit become durable together or not at all (a key destroyed in
  // between drops them). Not nestable. Both return false on failure; after a failed Begin the
  // writes are made one by one.
  virtual bool Begin() = 0;
  virtual bool Commit() = 0;
};

class Registry {
 public:
  virtual ~Registry() = default;

  // The key below HKEY_LOCAL_MACHINE; null when it does not exist or cannot be read.
  virtual std::unique_ptr<RegistryKey> Open(std::u16string_view path) = 0;
  // Opens or creates it; null when neither works.
  virtual std::unique_ptr<RegistryKey> Create(std::u16string_view path) = 0;

  // The file under which a damaged registry is kept since the first use of this one, which begins
  // anew; empty when there was no damage. For the user to read: not a device path.
  virtual std::u16string DamagedFile() const = 0;

  // Why the stored settings cannot be read, as the rest of a sentence for the user (which file, and
  // what is wrong with it); empty when they can, and when there are none yet. Looks at the file
  // when it is not open, and never waits for another process longer than a write does.
  virtual std::u16string Obstacle() = 0;
};

}  // namespace quillet::port
