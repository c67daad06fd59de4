#include "port/linux/native_files.h"

#include <sys/stat.h>

#include <filesystem>
#include <fstream>

namespace quillet::port {

bool MakeFolders(const std::string& folder) {
  std::error_code error;
  if (std::filesystem::is_directory(folder, error)) return true;
  const std::filesystem::path path(folder);
  const std::string above = path.parent_path().string();
  if (!above.empty() && above != folder && !MakeFolders(above)) return false;
  return mkdir(folder.c_str(), 0700) == 0 || std::filesystem::is_directory(path, error);
}

bool ReplaceTextFile(const std::string& path, std::string_view text) {
  const std::string draft = path + ".new";
  std::ofstream file(draft, std::ios::binary | std::ios::trunc);
  file.write(text.data(), static_cast<std::streamsize>(text.size()));
  file.close();
  std::error_code error;
  if (file) std::filesystem::rename(draft, path, error);
  if (file && !error) return true;
  std::filesystem::remove(draft, error);
  return false;
}

}  // namespace quillet::port
