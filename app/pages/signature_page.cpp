#include <algorithm>
#include <array>

#include "app/pages/page.h"
#include "base/box_owner.h"
#include "base/messages.h"
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

}  // namespace

PrefsPage SignaturePage() {
  return {.form = kDialogSignaturePage,
          .caption = u"Signature",
          .fields = kFields,
          .closed = WarnOfLongSignature};
}

}  // namespace quillet
