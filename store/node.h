// One node of the thread tree: the root, a subject node below it (neither has a Message-ID), or an
// article. Zero-filled when made; the links are borrowed.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace quillet {

struct Node {
  Node* parent = nullptr;  // null only for the root
  std::optional<std::string> messageId;
  std::uint32_t descendantCount = 0;      // article nodes below this one
  std::uint32_t readDescendantCount = 0;  // how many of them are read
  // An article's stored flag; without a Message-ID: whether all articles below are read.
  std::uint32_t read = 0;
};

}  // namespace quillet
