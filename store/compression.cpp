// SPDX-License-Identifier: GPL-3.0-or-later
// Binds the three functions of the compression library at run time, because the program works
// without it, too. A block is compressed in one call into a buffer of the worst length, and
// expanded into one of exactly the length stored with it: any other length is damage.
#include "store/compression.h"

#include <bzlib.h>

#include <array>
#include <new>
#include <type_traits>

#include "base/long_operation.h"
#include "base/messages.h"
#include "base/reset.h"
#include "base/wait_cursor.h"
#include "port/libraries.h"
#include "port/platform.h"
#include "store/databases.h"
#include "store/rewrite.h"
#include "util/text.h"

namespace quillet {

bool gCompressionAvailable = false;

namespace {

// Smallest blocks (100 kB) and, for reading, the low-memory mode: little memory matters more than
// a few per cent of size.
constexpr int kBlockSize = 1;
constexpr int kQuiet = 0;
constexpr int kDefaultWorkFactor = 0;
constexpr int kLowMemory = 1;

struct CompressionLibrary {
  port::LibraryHandle handle = nullptr;
  decltype(&::BZ2_bzBuffToBuffCompress) compress = nullptr;
  decltype(&::BZ2_bzBuffToBuffDecompress) decompress = nullptr;
  decltype(&::BZ2_bzlibVersion) version = nullptr;
};

CompressionLibrary gLibrary;
bool gLibraryFound = false;  // at the last try, whatever it lacked

const ResetAtEnd kReset([] {
  UnloadCompressionLibrary();
  gLibrary = {};
  gCompressionAvailable = gLibraryFound = false;
});

template <class Function>
bool Resolve(port::LibraryHandle library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(gPlatform->libraries.Resolve(library, name));
  return function != nullptr;
}

bool ResolveAll(CompressionLibrary& library) {
  return Resolve(library.handle, "BZ2_bzBuffToBuffCompress", library.compress) &&
         Resolve(library.handle, "BZ2_bzBuffToBuffDecompress", library.decompress) &&
         Resolve(library.handle, "BZ2_bzlibVersion", library.version);
}

// What the compressor may need at most for an input of that length, with room to spare.
std::size_t WorstCaseLength(std::size_t length) {
  return static_cast<std::size_t>(static_cast<double>(length) * 1.01) + 601;
}

// The library takes its input as mutable but does not change it.
char* Input(std::string_view bytes) {
  return const_cast<char*>(bytes.data());
}

}  // namespace

void LoadCompressionLibrary() {
  if (!BindCompressionLibrary() && !gLibraryFound) {
    ShowMessage(u"Unable to load BZIP2 library. Compression will not be available.");
  }
}

bool BindCompressionLibrary() {
  if (gCompressionAvailable) return true;
  CompressionLibrary library;
  library.handle = gPlatform->libraries.Load(u"bzip2ce.dll");
  gLibraryFound = library.handle != nullptr;
  if (!gLibraryFound) return false;
  if (!ResolveAll(library)) {
    gPlatform->libraries.Unload(library.handle);
    return false;
  }
  gLibrary = library;
  gCompressionAvailable = true;
  return true;
}

void UnloadCompressionLibrary() {
  if (!gCompressionAvailable) return;
  gPlatform->libraries.Unload(gLibrary.handle);
  gLibrary = {};
  gCompressionAvailable = false;
}

std::u16string CompressionLibraryVersion() {
  return gCompressionAvailable ? Widen(gLibrary.version()) : u"";
}

std::optional<std::string> CompressBlock(std::string_view block) {
  if (!gCompressionAvailable) return std::nullopt;
  try {
    std::string stream(WorstCaseLength(block.size()), '\0');
    unsigned length = static_cast<unsigned>(stream.size());
    const int result =
        gLibrary.compress(stream.data(), &length, Input(block), static_cast<unsigned>(block.size()),
                          kBlockSize, kQuiet, kDefaultWorkFactor);
    if (result != BZ_OK) return std::nullopt;
    stream.resize(length);
    return stream;
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

std::optional<std::string> DecompressBlock(std::string_view stream, std::uint32_t length) {
  if (!gCompressionAvailable) return std::nullopt;
  try {
    std::string block(length, '\0');
    unsigned got = length;
    const int result =
        gLibrary.decompress(block.data(), &got, Input(stream), static_cast<unsigned>(stream.size()),
                            kLowMemory, kQuiet);
    if (result != BZ_OK || got != length) return std::nullopt;
    return block;
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

void CompressAllArticles(bool compress) {
  const WaitCursor wait;
  const RewriteMode mode = compress ? RewriteMode::kCompress : RewriteMode::kUncompress;
  RunWithProgress(compress ? u"Compressing articles" : u"Uncompressing articles",
                  [mode] { return RewriteDatabases(mode); });
  ReopenDatabases();
}

}  // namespace quillet
