#include "mime/binary_in_text.h"

#include <array>

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

}  // namespace

std::vector<BinaryInText> FindBinariesInText(std::string_view /*text*/) {
  return {};
}

std::string DecodeBinaryInText(std::string_view /*text*/, const BinaryInText& /*found*/) {
  return {};
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
