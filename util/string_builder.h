// A growing text with appends of its own and of the other width, finished by handing the buffer
// out.
#pragma once

#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "util/text.h"

namespace quillet {

// Every append returns false when memory ran out and then keeps what was gathered.
class WideStringBuilder {
 public:
  bool Append(std::u16string_view text) {
    try {
      text_.append(text);
    } catch (const std::bad_alloc&) {
      return false;
    }
    return true;
  }
  // 8-bit text is widened with code page 1252.
  bool Append(std::string_view text) {
    try {
      text_.append(Widen(text));
    } catch (const std::bad_alloc&) {
      return false;
    }
    return true;
  }
  const std::u16string& text() const { return text_; }
  std::size_t length() const { return text_.size(); }
  std::u16string Finish() { return std::exchange(text_, {}); }

 private:
  std::u16string text_;
};

class NarrowStringBuilder {
 public:
  bool Append(std::string_view text) {
    try {
      text_.append(text);
    } catch (const std::bad_alloc&) {
      return false;
    }
    return true;
  }
  const std::string& text() const { return text_; }
  std::size_t length() const { return text_.size(); }
  std::string Finish() { return std::exchange(text_, {}); }

 private:
  std::string text_;
};

}  // namespace quillet
