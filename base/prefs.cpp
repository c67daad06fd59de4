// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/prefs.h"

#include "base/guarded.h"
#include "base/prefs_fields.h"
#include "base/records.h"
#include "base/reset.h"
#include "base/subscriptions.h"

namespace quillet {

std::unique_ptr<Prefs> gPrefs;
std::array<CommandBarBlob, 3> gCommandBars;

namespace {

const ResetAtEnd kReset([] {
  gPrefs.reset();
  gCommandBars = {};
});

void ResetText(Prefs& prefs, const TextField& field) {
  if (field.on_reset == OnReset::kKeep) return;
  prefs.*field.member = field.fallback;
  if (field.present != nullptr) prefs.*field.present = false;
}

void DropKillfile(Prefs& prefs) {
  prefs.killfilecount = 0;
  prefs.killfilegroups.clear();
  prefs.killfiletexts.clear();
  prefs.killfilekills.clear();
  prefs.killfileauthors.clear();
}

}  // namespace

std::unique_ptr<Prefs> NewPrefs() {
  return NewRecord<Prefs>(u"NewPrefs");
}

std::unique_ptr<Prefs> CopyPrefs(const Prefs& prefs) {
  std::unique_ptr<Prefs> copy = NewPrefs();
  if (!copy) return copy;
  if (!GuardedCritically(u"NewPrefs", [&] { *copy = prefs; })) copy.reset();
  return copy;
}

void SetDefaultPrefs(Prefs& prefs, bool reset_killfile) {
  RemoveAllServers(prefs);
  if (reset_killfile) DropKillfile(prefs);
  for (const PrefsField& field : PrefsFields()) {
    if (const auto* number = std::get_if<NumberField>(&field.what)) {
      if (number->on_reset == OnReset::kDefault) prefs.*number->member = number->fallback;
    } else if (const auto* text = std::get_if<TextField>(&field.what)) {
      ResetText(prefs, *text);
    }
  }
  prefs.autodeleteread = prefs.autodeletebefore = prefs.autodeleteonquit = 0;
  prefs.signature = kResetSignature;
}

}  // namespace quillet
