// SPDX-License-Identifier: GPL-3.0-or-later
// Pieces of device paths. Only for store/.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

inline std::u16string_view LastComponent(std::u16string_view path) {
  return path.substr(path.rfind(u'\\') + 1);
}

inline std::u16string PathIn(std::u16string_view folder, std::u16string_view name) {
  return std::u16string(folder).append(u"\\").append(name);
}

inline std::u16string_view FolderOf(std::u16string_view path) {
  return path.substr(0, path.size() - LastComponent(path).size() - 1);
}

}  // namespace quillet
