// SPDX-License-Identifier: GPL-3.0-or-later
// iconv's descriptors, which are dear to open: each thread keeps the last it used. A thread's own.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace quillet {

// What was no text in some bytes.
struct Misfits {
  std::size_t bad = 0;  // bytes that mean nothing, shown as U+FFFD each
  bool cut = false;     // the last character is not whole, shown as one U+FFFD
};

// Bytes of one character set to UTF-16.
class IconvDescriptor {
 public:
  // Null where iconv does not know the name. Borrowed: good until this thread asks for the next
  // one.
  static IconvDescriptor* For(const std::string& name);

  explicit IconvDescriptor(const std::string& name);
  ~IconvDescriptor();
  IconvDescriptor(IconvDescriptor&& other) noexcept;
  IconvDescriptor& operator=(IconvDescriptor&& other) noexcept;
  IconvDescriptor(const IconvDescriptor&) = delete;
  IconvDescriptor& operator=(const IconvDescriptor&) = delete;

  bool is_open() const;
  // Appends what the bytes mean.
  Misfits Convert(std::string_view bytes, std::u16string& out);

 private:
  void* descriptor_;
};

}  // namespace quillet
