// SPDX-License-Identifier: GPL-3.0-or-later
// Writing JSON: one object a line, ASCII only, exact for every UTF-16 text.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace quillet {

// The text in quotes. Every unit that is not printable ASCII is an escape of its own, so lone
// surrogates and control characters survive.
std::string JsonText(std::u16string_view text);
std::string JsonText(std::string_view utf8);

// An object that is being written. Members keep the order in which they were added.
class JsonObject {
 public:
  JsonObject& Add(std::string_view name, std::u16string_view text) {
    return AddRaw(name, JsonText(text));
  }
  JsonObject& Add(std::string_view name, const std::u16string& text) {
    return AddRaw(name, JsonText(text));
  }
  JsonObject& Add(std::string_view name, const char16_t* text) {
    return AddRaw(name, JsonText(std::u16string_view(text)));
  }
  JsonObject& Add(std::string_view name, std::string_view utf8) {
    return AddRaw(name, JsonText(utf8));
  }
  JsonObject& Add(std::string_view name, const std::string& utf8) {
    return AddRaw(name, JsonText(utf8));
  }
  JsonObject& Add(std::string_view name, const char* utf8) {
    return AddRaw(name, JsonText(std::string_view(utf8)));
  }
  JsonObject& Add(std::string_view name, bool value) {
    return AddRaw(name, value ? "true" : "false");
  }
  template <class T, class = std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool>>>
  JsonObject& Add(std::string_view name, T number) {
    return AddRaw(name, std::to_string(number));
  }
  // `json` is a finished JSON value.
  JsonObject& AddRaw(std::string_view name, std::string_view json);

  // Adds all members of another object.
  JsonObject& Append(const JsonObject& other);

  // The object in braces, without a line end.
  std::string Finish() const { return "{" + members_ + "}"; }

 private:
  std::string members_;
};

// A list that is being written.
class JsonList {
 public:
  JsonList& AddRaw(std::string_view json);
  JsonList& Add(const JsonObject& object) { return AddRaw(object.Finish()); }
  JsonList& Add(std::u16string_view text) { return AddRaw(JsonText(text)); }
  std::string Finish() const { return "[" + items_ + "]"; }

 private:
  std::string items_;
};

}  // namespace quillet
