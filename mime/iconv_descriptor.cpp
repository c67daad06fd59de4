// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/iconv_descriptor.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <utility>
#include <vector>

namespace quillet {
namespace {

constexpr std::size_t kKept = 12;  // descriptors of one thread
constexpr const char* kTarget =
    std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

struct Named {
  std::string name;
  IconvDescriptor descriptor;
};

void* Closed() {
  return reinterpret_cast<void*>(-1);  // NOLINT: iconv's own word for it
}

void Append(const std::array<char16_t, 512>& buffer, std::size_t bytes_left, std::u16string& out) {
  out.append(buffer.data(), buffer.size() - bytes_left / sizeof(char16_t));
}

}  // namespace

IconvDescriptor::IconvDescriptor(const std::string& name)
    : descriptor_(iconv_open(kTarget, name.c_str())) {}

IconvDescriptor::~IconvDescriptor() {
  if (is_open()) iconv_close(descriptor_);
}

IconvDescriptor::IconvDescriptor(IconvDescriptor&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, Closed())) {}

IconvDescriptor& IconvDescriptor::operator=(IconvDescriptor&& other) noexcept {
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

bool IconvDescriptor::is_open() const {
  return descriptor_ != Closed();
}

// The unknown ones are kept as well: to look through all that iconv has is the dearest answer.
IconvDescriptor* IconvDescriptor::For(const std::string& name) {
  thread_local std::vector<Named> kept;  // the last used comes last
  auto found = std::ranges::find(kept, name, &Named::name);
  if (found == kept.end()) {
    if (kept.size() == kKept) kept.erase(kept.begin());
    kept.push_back({name, IconvDescriptor(name)});
  } else {
    std::rotate(found, found + 1, kept.end());
  }
  IconvDescriptor& descriptor = kept.back().descriptor;
  return descriptor.is_open() ? &descriptor : nullptr;
}

Misfits IconvDescriptor::Convert(std::string_view bytes, std::u16string& out) {
  iconv(descriptor_, nullptr, nullptr, nullptr, nullptr);
  std::string_view left = bytes;
  Misfits misfits;
  std::array<char16_t, 512> buffer;
  const auto step = [&](bool flush) {
    char* in = const_cast<char*>(left.data());  // NOLINT: iconv does not write there
    std::size_t in_left = left.size();
    char* to = reinterpret_cast<char*>(buffer.data());
    std::size_t to_left = sizeof(buffer);
    const std::size_t result = flush ? iconv(descriptor_, nullptr, nullptr, &to, &to_left)
                                     : iconv(descriptor_, &in, &in_left, &to, &to_left);
    const int problem = result == static_cast<std::size_t>(-1) ? errno : 0;
    Append(buffer, to_left, out);
    const bool moved = in_left < left.size() || to_left < sizeof(buffer);
    left.remove_prefix(left.size() - in_left);
    return problem == E2BIG && !moved ? EILSEQ : problem;  // never wait for what does not come
  };
  while (!left.empty()) {
    const int problem = step(false);
    if (problem == 0 || problem == E2BIG) continue;
    out += u'\xFFFD';
    misfits.cut = problem == EINVAL;
    if (!misfits.cut) ++misfits.bad;
    left.remove_prefix(misfits.cut ? left.size() : 1);
  }
  step(true);
  return misfits;
}

}  // namespace quillet
