// SPDX-License-Identifier: GPL-3.0-or-later
#include "setup/judge.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "app/pages/fields.h"
#include "app/pages/server_names.h"
#include "base/prefs.h"
#include "base/prefs_fields.h"
#include "base/subscriptions.h"
#include "groups/newsgroups.h"
#include "setup/configuration.h"
#include "util/blanks.h"
#include "util/text.h"

namespace quillet::setup {
namespace {

// The judgement of a new group looks at the groups that there are already.
class JudgedRecord {
 public:
  JudgedRecord() { gPrefs = std::make_unique<Prefs>(); }
  JudgedRecord(const JudgedRecord&) = delete;
  JudgedRecord& operator=(const JudgedRecord&) = delete;
  ~JudgedRecord() { gPrefs.reset(); }
};

std::string Named(std::string_view option, const std::u16string& refusal) {
  return refusal.empty() ? std::string() : std::string(option) + ": " + ToUtf8(refusal);
}

// A window takes what cannot be stored out of a text; where nobody looks at the result, it is
// refused.
std::u16string RefusalOfText(std::u16string_view text) {
  if (StorableText(text, false) != text || std::ranges::any_of(text, IsControl)) {
    return u"This text has a character in it that cannot be kept.";
  }
  const std::optional<Refusal> refusal = RefusalOfLength(0, text);
  return refusal ? refusal->text : std::u16string();
}

std::string JudgeText(std::string_view option, const std::optional<std::string>& text) {
  if (!text) return {};
  const std::u16string trimmed(Trimmed(FromUtf8(*text)));
  return Named(option, trimmed.empty() ? u"This text is empty." : RefusalOfText(trimmed));
}

std::string JudgeServer(const Options& options) {
  if (!options.server) return {};
  const std::u16string name = FromUtf8(*options.server);
  return Named("--server", RefusalOfServerName(Trimmed(name)));
}

std::string JudgeGroups(const Options& options) {
  const JudgedRecord record;
  for (const std::string& group : options.groups) {
    std::u16string name = FromUtf8(group);
    if (const std::u16string refusal = JudgeNewGroupName(name); !refusal.empty()) {
      return Named("--group", refusal);
    }
    AddGroup(*gPrefs, name);
  }
  return {};
}

std::string JudgeNumbers(const Options& options) {
  for (const auto& [name, number] : options.numbers) {
    const std::optional<NumberRange> range = RangeOfNumber(FromUtf8(name));
    if (!range) return "--number: there is no setting \"" + name + "\"";
    if (range->Holds(number)) continue;
    return "--number: " + name + " is a number from " + std::to_string(range->least) + " to " +
           std::to_string(range->most);
  }
  return {};
}

}  // namespace

std::string JudgeOptions(const Options& options) {
  for (std::string wrong :
       {JudgeServer(options), JudgeText("--user", options.user),
        JudgeText("--full-name", options.full_name), JudgeText("--address", options.address),
        JudgeGroups(options), JudgeNumbers(options)}) {
    if (!wrong.empty()) return wrong;
  }
  return {};
}

std::string JudgePassword(std::u16string_view password) {
  return ToUtf8(RefusalOfText(password));
}

}  // namespace quillet::setup
