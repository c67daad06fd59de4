// SPDX-License-Identifier: GPL-3.0-or-later
// Compression of stored texts with the bzip2 library, when it is there. Program thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillet {

extern bool gCompressionAvailable;

// Binds "bzip2ce.dll"; without it shows its message, and texts are stored as they are.
void LoadCompressionLibrary();
// The same without a word; false when compressed texts cannot be read.
bool BindCompressionLibrary();
void UnloadCompressionLibrary();
std::u16string CompressionLibraryVersion();

// One bzip2 stream, nothing on failure.
std::optional<std::string> CompressBlock(std::string_view block);
// Exactly `length` bytes, nothing on failure (a stream that yields another length is a failure).
std::optional<std::string> DecompressBlock(std::string_view stream, std::uint32_t length);

// Rewrites the articles database compressed or plain, under the progress dialog.
void CompressAllArticles(bool compress);

}  // namespace quillet
