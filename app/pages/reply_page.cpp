// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include "app/pages/page.h"
#include "res/resource.h"

namespace quillet {
namespace {

constexpr auto kFields = std::to_array<PageField>({
    {kControlReturnAddress, TextEdit{&Prefs::returnmailaddress}},
    {kControlFullName, TextEdit{&Prefs::fullname}},
    {kControlQuoteText, TextEdit{&Prefs::quotestring}},
    {kControlAttribution, TextEdit{&Prefs::attribution}},
    {kControlFullPostView, CheckBox{&Prefs::simplepost, true}},
});

}  // namespace

PrefsPage ReplyPage() {
  return {.form = kDialogReplyPage, .caption = u"Reply information", .fields = kFields};
}

}  // namespace quillet
