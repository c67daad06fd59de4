// SPDX-License-Identifier: GPL-3.0-or-later
// Calls are counted and made to fail here; what does not fail goes to the real files, because what
// the program does with them would prove little on an imitation. A card that is pulled is moved out
// of sight and moved back, so that it returns with its contents.
#include "port/fake/fake_files.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "util/text.h"

namespace quillet::port {
namespace {

std::string MakePrivateFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "quillet-fake-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    std::perror("the folder of the in-memory device");
    std::abort();
  }
  for (const char* part : {"/data", "/cards", "/pulled"}) {
    std::filesystem::create_directory(name + part);
  }
  return name;
}

std::size_t Index(FileCall kind) {
  return static_cast<std::size_t>(kind);
}

}  // namespace

FakeFiles::FakeFiles()
    : root_(MakePrivateFolder()),
      data_folder_(root_ + "/data"),
      real_(data_folder_, CardRoots{{root_ + "/cards"}, false}) {}

FakeFiles::~FakeFiles() {
  std::error_code ignored;
  std::filesystem::remove_all(root_, ignored);
}

bool FakeFiles::Fails(FileCall kind) {
  // A copy: it may put another one in its place.
  if (const auto act = before_call) act(kind);
  const std::lock_guard lock(mutex_);
  bool fails = false;
  for (const std::size_t index : {Index(FileCall::kAny), Index(kind)}) {
    ++calls_[index];
    if (fail_in_[index] > 0 && --fail_in_[index] == 0) fails = true;
  }
  return fails;
}

void FakeFiles::BeforeNth(FileCall kind, int n, std::function<void()> act) {
  before_call = [kind, act = std::move(act), left = std::make_shared<int>(n)](FileCall made) {
    if ((kind == FileCall::kAny || kind == made) && --*left == 0) act();
  };
}

void FakeFiles::FailNth(FileCall kind, int n) {
  const std::lock_guard lock(mutex_);
  fail_in_[Index(kind)] = n;
}

int FakeFiles::calls(FileCall kind) const {
  const std::lock_guard lock(mutex_);
  return calls_[Index(kind)];
}

std::string FakeFiles::NativePath(std::u16string_view path) {
  return real_.NativePath(path);
}

bool FakeFiles::FolderExists(std::u16string_view path) {
  return !Fails(FileCall::kFolderExists) && real_.FolderExists(path);
}

bool FakeFiles::CreateFolder(std::u16string_view path) {
  return !Fails(FileCall::kCreateFolder) && real_.CreateFolder(path);
}

bool FakeFiles::CanWriteFolder(std::u16string_view path) {
  return !Fails(FileCall::kCanWriteFolder) && real_.CanWriteFolder(path);
}

std::vector<std::u16string> FakeFiles::FileNames(std::u16string_view folder) {
  if (Fails(FileCall::kFileNames)) return {};
  return real_.FileNames(folder);
}

std::optional<std::uint64_t> FakeFiles::FileSize(std::u16string_view path) {
  if (Fails(FileCall::kFileSize)) return std::nullopt;
  return real_.FileSize(path);
}

bool FakeFiles::Delete(std::u16string_view path) {
  return !Fails(FileCall::kDelete) && real_.Delete(path);
}

bool FakeFiles::Rename(std::u16string_view from, std::u16string_view to) {
  return !Fails(FileCall::kRename) && real_.Rename(from, to);
}

bool FakeFiles::Copy(std::u16string_view from, std::u16string_view to) {
  return !Fails(FileCall::kCopy) && real_.Copy(from, to);
}

bool FakeFiles::CopyMode(std::u16string_view from, std::u16string_view to) {
  return !Fails(FileCall::kCopyMode) && real_.CopyMode(from, to);
}

bool FakeFiles::WriteFile(std::u16string_view path, std::string_view data) {
  return !Fails(FileCall::kWriteFile) && real_.WriteFile(path, data);
}

std::uint32_t FakeFiles::CreateNewFile(std::u16string_view path, std::string_view data) {
  return Fails(FileCall::kCreateNewFile) ? create_error : real_.CreateNewFile(path, data);
}

std::uint32_t FakeFiles::CreatePrivateFile(std::u16string_view path, std::string_view data) {
  return Fails(FileCall::kCreateNewFile) ? create_error : real_.CreatePrivateFile(path, data);
}

// Each piece is a call that can fail.
class FakeFiles::Reader final : public FileReader {
 public:
  Reader(FakeFiles& files, std::unique_ptr<FileReader> real)
      : files_(files), real_(std::move(real)) {}

  std::uint64_t Size() const override { return real_->Size(); }
  std::size_t Read(std::span<char> buffer, std::uint32_t& error) override {
    if (!files_.Fails(FileCall::kReadSome)) return real_->Read(buffer, error);
    error = kErrorReadFault;
    return 0;
  }
  void Rewind() override { real_->Rewind(); }

 private:
  FakeFiles& files_;
  std::unique_ptr<FileReader> real_;
};

std::unique_ptr<FileReader> FakeFiles::OpenRead(std::u16string_view path, std::uint32_t& error) {
  if (Fails(FileCall::kOpenRead)) {
    error = open_error;
    return nullptr;
  }
  std::unique_ptr<FileReader> real = real_.OpenRead(path, error);
  return real ? std::make_unique<Reader>(*this, std::move(real)) : nullptr;
}

std::optional<std::string> FakeFiles::ReadFile(std::u16string_view path, std::uint64_t limit) {
  if (Fails(FileCall::kReadFile)) return std::nullopt;
  return real_.ReadFile(path, limit);
}

std::optional<std::string> FakeFiles::ReadAt(std::u16string_view path, std::uint64_t offset,
                                             std::size_t length) {
  if (Fails(FileCall::kReadAt)) return std::nullopt;
  return real_.ReadAt(path, offset, length);
}

bool FakeFiles::Overwrite(std::u16string_view path, std::uint64_t offset, std::string_view data) {
  return !Fails(FileCall::kOverwrite) && real_.Overwrite(path, offset, data);
}

std::optional<VolumeSpace> FakeFiles::FreeSpace(std::u16string_view folder) {
  if (Fails(FileCall::kFreeSpace) || !real_.FolderExists(folder)) return std::nullopt;
  {
    const std::lock_guard lock(mutex_);
    const auto of_folder = spaces_.find(std::u16string(folder));
    if (of_folder != spaces_.end()) return of_folder->second;
    if (space_) return space_;
  }
  return real_.FreeSpace(folder);
}

std::vector<std::u16string> FakeFiles::Cards() {
  return real_.Cards();
}

void FakeFiles::SetFreeSpace(VolumeSpace space) {
  const std::lock_guard lock(mutex_);
  space_ = space;
}

void FakeFiles::SetFreeSpace(std::u16string_view folder, VolumeSpace space) {
  const std::lock_guard lock(mutex_);
  spaces_[std::u16string(folder)] = space;
}

std::string FakeFiles::CardPath(const char* folder, std::u16string_view name) const {
  return root_ + folder + ToUtf8(name);
}

void FakeFiles::AddCard(std::u16string_view name) {
  std::error_code missing;
  std::filesystem::rename(CardPath("/pulled/", name), CardPath("/cards/", name), missing);
  if (missing) std::filesystem::create_directory(CardPath("/cards/", name));
}

void FakeFiles::RemoveCard(std::u16string_view name) {
  std::filesystem::rename(CardPath("/cards/", name), CardPath("/pulled/", name));
}

}  // namespace quillet::port
