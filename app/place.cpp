// SPDX-License-Identifier: GPL-3.0-or-later
// The article is kept by its Message-ID and the group by its name: neither means anything but
// itself in a store that has changed since. A place is of no importance: what cannot be read is
// missing, and what cannot be written is not.
#include "app/place.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "article/view.h"
#include "base/extensions.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/registry_values.h"
#include "base/reset.h"
#include "base/views.h"
#include "groups/group_list.h"
#include "port/article_panes.h"
#include "port/platform.h"
#include "port/registry.h"
#include "thread/moves.h"
#include "thread/reading.h"
#include "thread/view.h"

namespace quillet {
namespace {

constexpr std::u16string_view kPlacePath = u"Software\\Brindle\\Quillet\\Extensions\\Place";
constexpr std::size_t kLongestMessageId = 4096;
// A window smaller than this was not meant: nobody could use it.
constexpr int kLeastWindow = 100;
constexpr std::size_t kWindowWords = 5;  // left, top, width, height, maximised

struct Place {
  std::u16string group;  // empty: none was open
  int view = port::kGroupTab;
  std::string article;  // its Message-ID; of a subject row that of its first article
  bool subject_row = false;
  std::uint32_t text_place = 0;  // as port/article_panes.h counts
};

// The group of the place that was kept last, or of the one that was restored.
std::u16string gKeptGroup;

bool gOnlyTheGroup = false;

const ResetAtEnd kReset([] {
  gKeptGroup.clear();
  gOnlyTheGroup = false;
});

bool KeepsPlace() {
  return ReadExtensions().restoreplace != 0;
}

// --- reading -------------------------------------------------------------------------------------

std::string ReadMessageId(port::RegistryKey& key) {
  const auto value = key.Get(u"article");
  const bool usable = value && value->type == port::RegistryType::kBinary &&
                      value->data.size() <= kLongestMessageId;
  return usable ? value->data : std::string();
}

std::optional<Place> ReadPlace() {
  const auto key = gPlatform->registry.Open(kPlacePath);
  if (!key) return std::nullopt;
  ValueReader reader(*key);
  Place place;
  place.group = reader.Text(u"group", u"");
  std::uint32_t view = 0;
  std::uint32_t subject_row = 0;
  reader.Dword(u"view", view, port::kGroupTab);
  reader.Dword(u"subjectrow", subject_row, 0);
  reader.Dword(u"textplace", place.text_place, 0);
  place.view = view < port::kTabCount ? static_cast<int>(view) : port::kGroupTab;
  place.subject_row = subject_row != 0;
  place.article = ReadMessageId(*key);
  return place;
}

// --- what is shown now ---------------------------------------------------------------------------

void DescribeShownArticle(Place& place) {
  place.article = gReading.article->messageId.value_or("");
  place.text_place = gPlatform->article.ViewerPlace();
}

// The tree may be walked by whoever is interrupted by the end of the run: only an idle one is asked
// for its selection.
void DescribeSelectedRow(Place& place) {
  if (OperationRunning()) return;
  Node* const node = SelectedNode();
  if (node == nullptr) return;
  place.subject_row = node->kind == NodeKind::kSubject;
  if (const Node* article = FirstArticleFrom(node)) place.article = article->messageId;
}

Place PlaceOfNow() {
  Place place;
  if (!IsInList(gReading.group)) return place;
  place.group = gPrefs->groups[IndexOf(gReading.group)];
  if (gOnlyTheGroup) return place;
  place.view = gPlatform->windows.SelectedTab();
  if (place.view == port::kThreadTab) DescribeSelectedRow(place);
  if (place.view == port::kArticleTab && gReading.article) DescribeShownArticle(place);
  return place;
}

// --- writing -------------------------------------------------------------------------------------

void WriteWindow(port::RegistryKey& key) {
  const auto window = gPlatform->windows.MainWindowPlace();
  if (!window) return;
  const std::array<std::uint32_t, kWindowWords> words = {
      static_cast<std::uint32_t>(window->left), static_cast<std::uint32_t>(window->top),
      static_cast<std::uint32_t>(window->size.width),
      static_cast<std::uint32_t>(window->size.height), window->maximised ? 1U : 0U};
  WriteWords(key, u"window", words);
}

void WriteReading(port::RegistryKey& key, const Place& place) {
  WriteText(key, u"group", place.group);
  WriteDword(key, u"view", static_cast<std::uint32_t>(place.view));
  key.Set(u"article", port::RegistryType::kBinary, place.article);
  WriteDword(key, u"subjectrow", place.subject_row ? 1 : 0);
  WriteDword(key, u"textplace", place.text_place);
}

// A run in which no group was opened leaves what was kept of the one before.
void WritePlace(const Place& place) {
  const auto key = gPlatform->registry.Create(kPlacePath);
  if (!key) return;
  key->Begin();
  WriteWindow(*key);
  if (!place.group.empty()) WriteReading(*key, place);
  key->Commit();
}

// --- restoring -----------------------------------------------------------------------------------

// An article that the user has marked unread stays so: it is selected, not opened.
void ShowKeptArticle(const Place& place, Node& node) {
  const bool opens = place.view == port::kArticleTab && node.read != 0;
  if (!opens) {
    const Node* thread = ThreadOf(node);
    return SelectNode(place.subject_row && thread != nullptr ? *thread : node);
  }
  DisplayArticle(&node, u"");
  gPlatform->article.GoToViewerPlace(place.text_place);
}

bool ShowsArticles() {
  return gReading.tree && gReading.tree->root().firstChild != nullptr;
}

void OpenKeptGroup(const Place& place, GroupIndex group) {
  if (place.view == port::kGroupTab) return SelectGroup(group);
  // Should the program come to an end while it opens this, it will not try again.
  KeepOnlyTheGroup();
  SelectGroup(group);
  WritePlace(PlaceOfNow());
  ShowThreadView();
  if (gMainWindow == 0) return;
  if (!ShowsArticles()) {
    SelectView(port::kGroupTab);
    FillGroupList();
  } else if (Node* node = gReading.tree->FindNodeByMessageId(place.article)) {
    ShowKeptArticle(place, *node);
  }
  if (gMainWindow == 0) return;
  gOnlyTheGroup = false;
  WritePlace(PlaceOfNow());
}

}  // namespace

std::optional<port::WindowPlace> KeptWindowPlace() {
  if (!KeepsPlace()) return std::nullopt;
  const auto key = gPlatform->registry.Open(kPlacePath);
  if (!key) return std::nullopt;
  const auto words = ValueReader(*key).WordsOr(u"window", kWindowWords, 0);
  const auto number = [&](std::size_t i) { return static_cast<std::int32_t>(words[i]); };
  if (number(2) < kLeastWindow || number(3) < kLeastWindow) return std::nullopt;
  return port::WindowPlace{number(0), number(1), {number(2), number(3)}, words[4] != 0};
}

void RestorePlace() {
  const bool untouched =
      !gReading.group && gPlatform->windows.SelectedTab() == port::kGroupTab && gPrefs;
  if (!untouched || !KeepsPlace()) return;
  const std::optional<Place> place = ReadPlace();
  if (!place || place->group.empty()) return;
  const auto& groups = gPrefs->groups;
  const auto found = std::find(groups.begin(), groups.end(), place->group);
  if (found == groups.end()) return;
  gKeptGroup = place->group;
  OpenKeptGroup(*place, GroupAt(static_cast<std::size_t>(found - groups.begin())));
}

void KeepPlace() {
  if (gPrefs && KeepsPlace()) WritePlace(PlaceOfNow());
}

void KeepOnlyTheGroup() {
  gOnlyTheGroup = true;
}

void KeepPlaceOfNewGroup() {
  if (!gPrefs || !IsInList(gReading.group)) return;
  const std::u16string& group = gPrefs->groups[IndexOf(gReading.group)];
  if (group == gKeptGroup) return;
  gKeptGroup = group;
  KeepPlace();
}

}  // namespace quillet
