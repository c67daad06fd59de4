// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>

#include "app/pages/page.h"
#include "base/box_owner.h"
#include "base/messages.h"
#include "base/registry_values.h"
#include "port/platform.h"
#include "res/resource.h"

namespace quillet {
namespace {

// Meant: twice as much as is read back at the next start. Other devices that use these settings
// may read more.
constexpr std::size_t kLongestSignature = 2047;

constexpr auto kFields = std::to_array<PageField>({
    {kControlSignature, TextEdit{&Prefs::signature, true, kLongestSignature}},
});

constexpr std::ptrdiff_t kTooManyLineEnds = 4;

void WarnOfLongSignature(PrefsSheet& sheet) {
  if (std::ranges::count(sheet.copy->signature, u'\r') < kTooManyLineEnds) return;
  ShowBox(CurrentBoxOwner(), u"Warning",
          u"Your signature contains more than the recommended four lines of text.", {});
}

// The registry gives a longer text back as the default signature.
void ShowNote(PrefsSheet& /*sheet*/, port::WindowHandle page, bool /*first*/) {
  const bool too_long =
      gPlatform->dialogs.Read(page, kControlSignature).text.size() > kLongestRegistryText;
  gPlatform->dialogs.Write(page, kControlSignatureNote, port::Visible{too_long});
}

void HandleEdit(PrefsSheet& sheet, port::WindowHandle page, const port::Message& message) {
  if (message.kind == port::MessageKind::kTextEdited) ShowNote(sheet, page, false);
}

}  // namespace

PrefsPage SignaturePage() {
  return {.form = kDialogSignaturePage,
          .caption = u"Signature",
          .fields = kFields,
          .show = ShowNote,
          .handle = HandleEdit,
          .closed = WarnOfLongSignature};
}

}  // namespace quillet
