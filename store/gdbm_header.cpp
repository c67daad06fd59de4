// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/gdbm_header.h"

#include <algorithm>
#include <array>
#include <bit>
#include <optional>

#include "port/files.h"
#include "port/platform.h"

namespace quillet {
namespace {

// In the machine's own byte order.
struct FileHeader {
  std::uint32_t magic;
  std::int32_t block_size;
  std::int64_t directory;
  std::int32_t directory_size;
  std::int32_t directory_bits;
  std::int32_t bucket_size;
  std::int32_t bucket_elements;
  std::int64_t next_block;  // the file's length, as far as the header knows
  std::int32_t free_size;
  std::int32_t free_count;       // entries of the table of free blocks
  std::int64_t next_free_block;  // where that table goes on
};
using HeaderBytes = std::array<char, sizeof(FileHeader)>;
static_assert(sizeof(FileHeader) == 56);

constexpr std::uint32_t kMagicOld = 0x13579ACE;
constexpr std::uint32_t kMagic64 = 0x13579ACF;

// Nothing for a file that cannot be read or is not the library's.
std::optional<FileHeader> ReadHeader(std::u16string_view path) {
  const auto read = gPlatform->files.ReadAt(path, 0, sizeof(FileHeader));
  if (!read) return std::nullopt;
  HeaderBytes bytes{};
  std::copy(read->begin(), read->end(), bytes.begin());
  const auto header = std::bit_cast<FileHeader>(bytes);
  if (header.magic != kMagicOld && header.magic != kMagic64) return std::nullopt;
  return header;
}

}  // namespace

bool HeaderKnowsLength(std::u16string_view path, std::uint64_t size) {
  const auto header = ReadHeader(path);
  return !header || header->next_block == static_cast<std::int64_t>(size);
}

std::string KeepHeader(std::u16string_view path) {
  return gPlatform->files.ReadAt(path, 0, sizeof(FileHeader)).value_or("");
}

void CorrectHeader(std::u16string_view path, std::uint64_t size) {
  auto header = ReadHeader(path);
  if (!header) return;
  header->next_block = static_cast<std::int64_t>(size);
  header->free_count = 0;
  header->next_free_block = 0;
  const auto bytes = std::bit_cast<HeaderBytes>(*header);
  gPlatform->files.Overwrite(path, 0, {bytes.data(), bytes.size()});
}

}  // namespace quillet
