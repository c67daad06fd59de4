// SPDX-License-Identifier: GPL-3.0-or-later
// One transaction of the registry has it all: what the settings are is read in it, changed as a
// record, and written back. What goes through other keys meanwhile is part of it. Unless it is
// committed, nothing has happened.
#include "setup/profile_writer.h"

#include <memory>
#include <optional>
#include <string_view>

#include "base/extensions.h"
#include "base/prefs.h"
#include "base/prefs_reader.h"
#include "base/prefs_registry.h"
#include "base/prefs_writer.h"
#include "base/registry_values.h"
#include "base/server_security.h"
#include "port/fake/fake_display.h"
#include "port/linux/instance_lock.h"
#include "port/linux/linux_platform.h"
#include "setup/configuration.h"
#include "util/blanks.h"
#include "util/text.h"

namespace quillet::setup {
namespace {

constexpr std::string_view kRuns =
    "Quillet CE runs with these settings and would write its own over them; quit it first";
constexpr std::string_view kNotWritten =
    "the settings could not be written; the disk may be full or read-only";

// Reading settings tells what is odd about them in boxes: here they are kept.
class KeptBoxes final : public port::MessageBoxes {
 public:
  int Show(port::WindowHandle /*owner*/, std::u16string_view /*caption*/, std::u16string_view text,
           const port::BoxStyle& style) override {
    texts.push_back(ToUtf8(text));
    return style.buttons == port::BoxButtons::kOk ? port::kIdOk : port::kIdNo;
  }
  void SetWaitCursor(bool /*on*/) override {}
  void Beep() override {}

  std::vector<std::string> texts;
};

// The device while settings are read and written: the real one, without a display.
class Device {
 public:
  explicit Device(const port::Profile& profile)
      : services_(profile, u"", port::OwnExecutable()), display_(services_.queues) {
    const port::DisplayServices all = display_.Services();
    services_.Attach({boxes_, all.windows, all.group_list, all.dialogs, all.sheets, all.thread_tree,
                      all.pop_ups, all.article, all.file_dialogs});
  }
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;
  ~Device() {
    gPrefs.reset();
    services_.Detach();
  }
  port::LinuxRegistry& registry() { return services_.registry; }
  const std::vector<std::string>& texts() const { return boxes_.texts; }

 private:
  port::LinuxServices services_;
  port::FakeDisplay display_;
  KeptBoxes boxes_;
};

// --- Reading -------------------------------------------------------------------------------------

// Into gPrefs. What must not be built upon is a problem.
std::string ReadSettings(port::RegistryKey& key) {
  gPrefs = std::make_unique<Prefs>();
  ValueReader values(key);
  std::uint32_t version = 0;
  values.Dword(u"version", version, kPrefsVersion);
  if (version > kPrefsVersion) return "these settings are newer than this program";
  if (!ReadRecord(values, *gPrefs)) return "there is not enough memory to read the settings";
  if (values.discarded()) {
    return "some of the stored settings are damaged; start Quillet CE, which says which, and mend "
           "them there";
  }
  return {};
}

// --- Writing -------------------------------------------------------------------------------------

// A server whose name had another security before must not keep it.
bool WriteSecurity(const Options& options, port::Registry& registry) {
  if (!options.server) return true;
  const std::u16string name(Trimmed(std::u16string_view(FromUtf8(*options.server))));
  const std::unique_ptr<port::RegistryKey> key = registry.Create(kServerSecurityPath);
  if (!key) return false;
  if (options.Security() == ServerSecurity::kNone && !key->Get(name)) return true;
  return WriteDword(*key, name, static_cast<std::uint32_t>(options.Security()));
}

bool WriteNumbers(const Options& options, port::Registry& registry, port::RegistryKey& key) {
  for (const auto& [utf8, number] : options.numbers) {
    const std::u16string name = FromUtf8(utf8);
    std::unique_ptr<port::RegistryKey> extensions;
    if (IsExtension(name)) {
      extensions = registry.Create(kExtensionsPath);
      if (!extensions) return false;
    }
    if (!WriteDword(extensions ? *extensions : key, name, number)) return false;
  }
  return true;
}

bool WriteTexts(const Options& options, port::RegistryKey& key) {
  return (!options.full_name || WriteText(key, u"fullname", gPrefs->fullname)) &&
         (!options.address || WriteText(key, u"returnmailaddress", gPrefs->returnmailaddress));
}

bool WriteSettings(const Options& options, port::Registry& registry, port::RegistryKey& key) {
  return WriteSecurity(options, registry) &&
         WriteSubscriptions(key, *gPrefs) == WriteResult::kDone && WriteTexts(options, key) &&
         WriteNumbers(options, registry, key);
}

std::string Change(Device& device, const Options& options, const std::u16string& password) {
  port::LinuxRegistry& registry = device.registry();
  if (const std::u16string obstacle = registry.Obstacle(); !obstacle.empty()) {
    return "the settings cannot be read, because " + ToUtf8(obstacle);
  }
  const std::unique_ptr<port::RegistryKey> key = registry.Create(kRegistryPath);
  if (!registry.SetAsidePath().empty()) {
    return "the stored settings were damaged and are kept as \"" + registry.SetAsidePath() +
           "\"; bring them back from a backup, or try again to begin anew";
  }
  if (!key || !key->Begin()) return std::string(kNotWritten);
  if (std::string problem = ReadSettings(*key); !problem.empty()) return problem;
  if (std::string problem = Configure(options, password); !problem.empty()) return problem;
  if (!WriteSettings(options, registry, *key) || !key->Commit()) return std::string(kNotWritten);
  return {};
}

}  // namespace

Written WriteProfile(const port::Profile& profile, const Options& options,
                     const std::u16string& password) {
  if (std::string problem = port::PrepareProfile(profile); !problem.empty()) return {problem, {}};
  const port::FileDescriptor lock = port::OpenLockFile(profile);
  if (lock.valid() && port::TryLock(lock.get()) == port::Lock::kTaken) {
    return {std::string(kRuns), {}};
  }
  Device device(profile);
  std::string problem = Change(device, options, password);
  return {std::move(problem), device.texts()};
}

}  // namespace quillet::setup
