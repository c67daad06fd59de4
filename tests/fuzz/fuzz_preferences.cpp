// SPDX-License-Identifier: GPL-3.0-or-later
// A registry with arbitrary values: reading it gives a sound record or a report, and what is read
// can be written and reads the same again.
//
// Input: values one after another, each with a byte for its name, one for its type, two for the
// length of its data, and the data.
#include <array>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "base/prefs_fields.h"
#include "base/prefs_registry.h"
#include "port/fake/fake_platform.h"
#include "util/little_endian.h"

using namespace quillet;

namespace {

void Expect(bool holds) {
  if (!holds) std::abort();
}

constexpr std::array<std::u16string_view, 4> kOldNames = {u"useauth", u"usentlm", u"authuser",
                                                          u"authpass"};

std::u16string_view NameOf(unsigned char index) {
  const auto fields = PrefsFields();
  const std::size_t at = index % (fields.size() + kOldNames.size());
  return at < fields.size() ? fields[at].name : kOldNames[at - fields.size()];
}

port::RegistryType TypeOf(unsigned char index) {
  constexpr std::array kTypes = {port::RegistryType::kString, port::RegistryType::kBinary,
                                 port::RegistryType::kDword, port::RegistryType::kMultiString};
  return kTypes[index % kTypes.size()];
}

void PutValues(port::FakeRegistry& registry, std::string_view input) {
  while (input.size() >= 4) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(input[at]); };
    const std::size_t length = byte(2) + 256U * byte(3);
    registry.Put(kRegistryPath, NameOf(byte(0)), TypeOf(byte(1)), input.substr(4, length));
    input.remove_prefix(std::min(input.size(), 4 + length));
  }
}

// Every list has as many entries as its count says.
void CheckShape(const Prefs& prefs) {
  for (const PrefsField& field : PrefsFields()) {
    if (const auto* words = std::get_if<WordsField>(&field.what)) {
      Expect((prefs.*words->member).size() == LengthOf(prefs, words->length));
    } else if (const auto* texts = std::get_if<TextsField>(&field.what)) {
      Expect((prefs.*texts->member).size() == LengthOf(prefs, texts->length));
    } else if (const auto* text = std::get_if<TextField>(&field.what)) {
      Expect((prefs.*text->member).size() <= 1023);
    }
  }
  Expect(prefs.killfiletexts.size() == prefs.killfilecount);
  Expect(prefs.numservers == 0 || prefs.selectedserver < prefs.numservers);
}

void CheckReadAndWrite() {
  ReadPreferences();
  Expect(gPrefs != nullptr);
  CheckShape(*gPrefs);
  Expect(WritePreferences());
  const std::unique_ptr<Prefs> first = std::move(gPrefs);
  ReadPreferences();
  CheckShape(*gPrefs);
  Expect(gPrefs->groups == first->groups && gPrefs->servers == first->servers);
  Expect(gPrefs->lastdownloaded == first->lastdownloaded && gPrefs->port == first->port);
  Expect(gPrefs->killfiletexts == first->killfiletexts);
  gPrefs.reset();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static port::FakePlatform fake;
  port::FakeRegistry registry;
  port::Platform platform{fake.display.Services(), fake.queues,  registry,   fake.sockets,
                          fake.libraries,          fake.files,   fake.clock, fake.shell,
                          fake.scheduler,          fake.dialler, fake.mail,  fake.contacts,
                          fake.security,           fake.secrets};
  gPlatform = &platform;
  PutValues(registry, {reinterpret_cast<const char*>(data), size});
  CheckReadAndWrite();
  fake.display.ForgetBoxes();
  gPlatform = &fake.platform;
  return 0;
}
