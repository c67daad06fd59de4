#include "store/gdbm_header.h"

#include <array>
#include <bit>
#include <fstream>
#include <ios>
#include <optional>

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

// A few bytes of a large file, where the library itself reaches it.
using Stream = std::fstream;

std::optional<FileHeader> ReadHeader(Stream& stream) {
  HeaderBytes bytes{};
  if (!stream.read(bytes.data(), bytes.size())) return std::nullopt;
  const auto header = std::bit_cast<FileHeader>(bytes);
  if (header.magic != kMagicOld && header.magic != kMagic64) return std::nullopt;
  return header;
}

}  // namespace

bool HeaderKnowsLength(const std::string& native_path, std::uint64_t size) {
  Stream stream(native_path, std::ios::in | std::ios::binary);
  const auto header = ReadHeader(stream);
  return !header || header->next_block == static_cast<std::int64_t>(size);
}

void CorrectHeader(const std::string& native_path, std::uint64_t size) {
  Stream stream(native_path, std::ios::in | std::ios::out | std::ios::binary);
  auto header = ReadHeader(stream);
  if (!header) return;
  header->next_block = static_cast<std::int64_t>(size);
  header->free_count = 0;
  header->next_free_block = 0;
  const auto bytes = std::bit_cast<HeaderBytes>(*header);
  stream.seekp(0);
  stream.write(bytes.data(), bytes.size());
}

}  // namespace quillet
