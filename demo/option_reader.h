// SPDX-License-Identifier: GPL-3.0-or-later
// Walks the command line of the demo programs: "--name value" pairs and "--name" flags.
#pragma once

#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quillet::demo {

// Next() goes to the next argument; then each reader is tried, and the one whose name it is takes
// the value behind it and returns true. A missing or malformed value makes all of them false.
class OptionReader {
 public:
  OptionReader(int argc, char** argv) : arguments_(argv, argv + argc) {}

  bool Next() { return ++at_ < arguments_.size(); }

  bool Flag(std::string_view name, bool& flag) {
    if (arguments_[at_] != name) return false;
    flag = true;
    return true;
  }
  bool Text(std::string_view name, std::string& text) {
    if (arguments_[at_] != name || at_ + 1 >= arguments_.size()) return false;
    text = arguments_[++at_];
    return true;
  }
  bool Texts(std::string_view name, std::vector<std::string>& texts) {
    std::string text;
    if (!Text(name, text)) return false;
    texts.push_back(text);
    return true;
  }
  bool Number(std::string_view name, std::uint64_t& number) {
    std::string text;
    if (!Text(name, text)) return false;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
  }

 private:
  std::vector<std::string> arguments_;
  std::size_t at_ = 0;
};

}  // namespace quillet::demo
