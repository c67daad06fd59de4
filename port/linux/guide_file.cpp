// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/guide_file.h"

#include <array>
#include <filesystem>
#include <system_error>

#include "port/linux/profile.h"

namespace quillet::port {
namespace {

// From the program's folder: where an installation has the guide, then where a build folder has it.
constexpr std::array<const char*, 2> kPlaces = {QUILLET_GUIDE_FROM_PROGRAM,
                                                "../share/quillet/guide"};
constexpr const char* kFirstPage = "user-guide.html";

}  // namespace

std::string GuideBeside(const std::string& executable) {
  const std::filesystem::path folder = std::filesystem::path(executable).parent_path();
  for (const char* place : kPlaces) {
    const std::filesystem::path page = (folder / place / kFirstPage).lexically_normal();
    std::error_code error;
    if (std::filesystem::is_regular_file(page, error)) return page.string();
  }
  return {};
}

std::string GuideFile() {
  const std::string executable = OwnExecutable();
  return executable.empty() ? std::string() : GuideBeside(executable);
}

}  // namespace quillet::port
