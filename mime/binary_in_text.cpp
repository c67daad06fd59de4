// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/binary_in_text.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "mime/charset.h"
#include "mime/uuencode.h"
#include "mime/yenc.h"
#include "util/text.h"

namespace quillet {
namespace {

struct KnownExtension {
  std::u16string_view extension;
  std::string_view type;
};

constexpr std::array<KnownExtension, 38> kExtensions = {{
    {u"jpg", "image/jpeg"},
    {u"jpeg", "image/jpeg"},
    {u"jpe", "image/jpeg"},
    {u"png", "image/png"},
    {u"gif", "image/gif"},
    {u"bmp", "image/bmp"},
    {u"tif", "image/tiff"},
    {u"tiff", "image/tiff"},
    {u"webp", "image/webp"},
    {u"svg", "image/svg+xml"},
    {u"txt", "text/plain"},
    {u"nfo", "text/plain"},
    {u"diff", "text/plain"},
    {u"patch", "text/plain"},
    {u"htm", "text/html"},
    {u"html", "text/html"},
    {u"csv", "text/csv"},
    {u"pdf", "application/pdf"},
    {u"ps", "application/postscript"},
    {u"rtf", "application/rtf"},
    {u"doc", "application/msword"},
    {u"odt", "application/vnd.oasis.opendocument.text"},
    {u"zip", "application/zip"},
    {u"gz", "application/gzip"},
    {u"tgz", "application/gzip"},
    {u"bz2", "application/x-bzip2"},
    {u"xz", "application/x-xz"},
    {u"tar", "application/x-tar"},
    {u"7z", "application/x-7z-compressed"},
    {u"rar", "application/vnd.rar"},
    {u"mp3", "audio/mpeg"},
    {u"ogg", "audio/ogg"},
    {u"flac", "audio/flac"},
    {u"wav", "audio/x-wav"},
    {u"mid", "audio/midi"},
    {u"mp4", "video/mp4"},
    {u"mpg", "video/mpeg"},
    {u"avi", "video/x-msvideo"},
}};

struct Found {
  BinaryInText binary;
  std::string bytes;
};

Found Made(std::size_t begin, std::size_t end, std::string_view name, std::string bytes,
           BinaryCoding coding) {
  Found found{{.begin = begin,
               .end = end,
               .name = DecodeUnlabelled(name),
               .type = {},
               .bytes = bytes.size(),
               .coding = coding,
               .damaged = false},
              std::move(bytes)};
  found.binary.type = TypeOfFileName(found.binary.name);
  return found;
}

// A file whose first line begins at the place.
std::optional<Found> FileAt(std::string_view text, std::size_t place) {
  const std::string_view rest = text.substr(place);
  if (rest.starts_with("begin ")) {
    auto file = UuFileAt(text, place);
    if (!file) return std::nullopt;
    return Made(place, file->end, file->name, std::move(file->bytes), BinaryCoding::kUuencode);
  }
  if (rest.starts_with("begin-base64 ")) {
    auto file = Base64FileAt(text, place);
    if (!file) return std::nullopt;
    return Made(place, file->end, file->name, std::move(file->bytes), BinaryCoding::kBase64);
  }
  if (!rest.starts_with("=ybegin ")) return std::nullopt;
  auto file = YEncFileAt(text, place);
  if (!file) return std::nullopt;
  Found found = Made(place, file->end, file->name, std::move(file->bytes), BinaryCoding::kYEnc);
  found.binary.damaged = file->damaged;
  return found;
}

}  // namespace

// The time stays linear because no line that can belong to a file begins one of its kind: what was
// read in vain is not read in vain again.
std::vector<BinaryInText> FindBinariesInText(std::string_view text) {
  std::vector<BinaryInText> binaries;
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] == 'b' || text[at] == '=') {
      if (auto found = FileAt(text, at)) {
        at = found->binary.end;
        binaries.push_back(std::move(found->binary));
        continue;
      }
    }
    at = std::min(text.find('\n', at), text.size() - 1) + 1;
  }
  return binaries;
}

std::string DecodeBinaryInText(std::string_view text, const BinaryInText& found) {
  if (found.begin >= text.size()) return {};
  auto file = FileAt(text, found.begin);
  return file ? std::move(file->bytes) : std::string();
}

std::string TypeOfFileName(std::u16string_view name) {
  const std::size_t dot = name.rfind(u'.');
  const std::u16string_view extension =
      dot == std::u16string_view::npos ? std::u16string_view() : name.substr(dot + 1);
  for (const KnownExtension& known : kExtensions) {
    if (EqualsNoCase(extension, known.extension)) return std::string(known.type);
  }
  return "application/octet-stream";
}

}  // namespace quillet
