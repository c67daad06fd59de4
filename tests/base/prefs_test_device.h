// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of the preferences share: the device in memory, registry data in literal form,
// and a registry that notes the order of reads and writes.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_damage.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/fake/fake_platform.h"
#include "port/fake/gtest_failures.h"

namespace quillet {

using port::RegistryType;

inline constexpr std::u16string_view kTestKey = u"Software\\Brindle\\Quillet";
inline constexpr std::u16string_view kDamagedKey = u"Software\\Brindle\\Quillet damaged 1";

inline constexpr std::u16string_view kCannotSave =
    u"The preferences could not be saved, because the registry cannot be written. The disk may be "
    u"full or read-only. The preferences saved before are unchanged.";

// What a first start and a reset to the factory settings have in common, the flags aside.
inline void ExpectFactoryValues(const Prefs& p) {
  EXPECT_EQ(p.maxstore, 98U);
  EXPECT_EQ(p.maxarticles, 50U);
  EXPECT_EQ(p.fontsize, 2U);
  EXPECT_EQ(p.groupfontsize, 3U);
  EXPECT_EQ(p.threadfontsize, 3U);
  EXPECT_EQ(p.articleheaderfontsize, 3U);
  EXPECT_EQ(p.maxarticlesize, 4U);
  EXPECT_EQ(p.downloadhr, 6U);
  EXPECT_EQ(p.returnmailaddress, u"yourname@brindle.example");
  EXPECT_EQ(p.attribution, u"In message $i, $a wrote:");
  EXPECT_EQ(p.extraheaders, u"");
  EXPECT_EQ(p.quotestring, u"> ");
  EXPECT_EQ(p.fullname, u"My Name");
  EXPECT_EQ(p.font, u"Arial");
  EXPECT_EQ(p.groupfont, u"Tahoma");
  EXPECT_EQ(p.threadfont, u"Tahoma");
  EXPECT_EQ(p.articleheaderfont, u"Tahoma");
  EXPECT_EQ(p.conxmethod, u"<none>");
}

// UTF-16 little-endian bytes; NULs inside the literal are kept.
inline std::string Bytes16(std::u16string_view text) {
  std::string bytes;
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<char>(unit & 0xFF));
    bytes.push_back(static_cast<char>(unit >> 8));
  }
  return bytes;
}

inline std::string Bytes32(std::initializer_list<std::uint32_t> words) {
  std::string bytes;
  for (const std::uint32_t word : words) {
    for (int shift = 0; shift < 32; shift += 8) {
      bytes.push_back(static_cast<char>(word >> shift & 0xFF));
    }
  }
  return bytes;
}

inline std::string Hex(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const char c : bytes) {
    hex.push_back(kDigits[static_cast<unsigned char>(c) >> 4]);
    hex.push_back(kDigits[static_cast<unsigned char>(c) & 15]);
  }
  return hex;
}

class PrefsTest : public ::testing::Test {
 protected:
  ~PrefsTest() override { ResetProgram(); }

  void Put(std::u16string_view name, RegistryType type, std::string_view data) {
    fake.registry.Put(kTestKey, name, type, data);
  }
  void PutDword(std::u16string_view name, std::uint32_t value) {
    fake.registry.PutDword(kTestKey, name, value);
  }
  void PutList(std::u16string_view name, std::u16string_view units) {
    Put(name, RegistryType::kMultiString, Bytes16(units));
  }
  std::string Stored(std::u16string_view name) {
    const auto value = fake.registry.Find(kTestKey, name);
    return value ? value->data : "(missing)";
  }
  std::vector<std::u16string> BoxTexts() {
    std::vector<std::u16string> texts;
    for (const port::ShownBox& box : fake.display.boxes()) texts.push_back(box.text);
    return texts;
  }

  port::FakePlatform fake;
};

// Passes everything on and notes the names.
class NotingKey final : public port::RegistryKey {
 public:
  NotingKey(std::unique_ptr<RegistryKey> key, std::vector<std::u16string>& log)
      : key_(std::move(key)), log_(log) {}

  std::optional<port::RegistryValue> Get(std::u16string_view name) override {
    Note(u"get ", name);
    return key_->Get(name);
  }
  bool Set(std::u16string_view name, RegistryType type, std::string_view data) override {
    Note(u"set ", name);
    return key_->Set(name, type, data);
  }
  bool DeleteSubkey(std::u16string_view name) override {
    Note(u"delete key ", name);
    return key_->DeleteSubkey(name);
  }
  std::vector<std::u16string> Subkeys() override { return key_->Subkeys(); }
  std::vector<port::NamedRegistryValue> Values() override { return key_->Values(); }
  bool Begin() override {
    Note(u"begin", u"");
    return key_->Begin();
  }
  bool Commit() override {
    Note(u"commit", u"");
    return key_->Commit();
  }

 private:
  void Note(std::u16string_view what, std::u16string_view name) {
    log_.push_back(std::u16string(what) + std::u16string(name));
  }

  std::unique_ptr<RegistryKey> key_;
  std::vector<std::u16string>& log_;
};

class NotingRegistry final : public port::Registry {
 public:
  std::u16string DamagedFile() const override { return {}; }
  std::u16string Obstacle() override { return {}; }
  explicit NotingRegistry(port::Registry& registry) : registry_(registry) {}

  std::unique_ptr<port::RegistryKey> Open(std::u16string_view path) override {
    return Wrap(registry_.Open(path));
  }
  std::unique_ptr<port::RegistryKey> Create(std::u16string_view path) override {
    return Wrap(registry_.Create(path));
  }

  std::vector<std::u16string> log;

 private:
  std::unique_ptr<port::RegistryKey> Wrap(std::unique_ptr<port::RegistryKey> key) {
    if (!key) return key;
    return std::make_unique<NotingKey>(std::move(key), log);
  }

  port::Registry& registry_;
};

// The device with another registry, for as long as this stands.
class OtherRegistry {
 public:
  explicit OtherRegistry(port::Registry& registry)
      : before_(gPlatform), platform_{*before_,          before_->messages,  registry,
                                      before_->sockets,  before_->libraries, before_->files,
                                      before_->clock,    before_->shell,     before_->scheduler,
                                      before_->dialler,  before_->mail,      before_->contacts,
                                      before_->security, before_->secrets} {
    gPlatform = &platform_;
  }
  OtherRegistry(const OtherRegistry&) = delete;
  OtherRegistry& operator=(const OtherRegistry&) = delete;
  ~OtherRegistry() { gPlatform = before_; }

 private:
  port::Platform* before_;
  port::Platform platform_;
};

}  // namespace quillet
