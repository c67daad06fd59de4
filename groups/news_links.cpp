// SPDX-License-Identifier: GPL-3.0-or-later
// A link changes nothing without a question, and its question has No in front: it comes while the
// user does something else, and a key on its way must not answer it.
#include "groups/news_links.h"

#include <algorithm>
#include <optional>
#include <string>

#include "article/view.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/subscriptions.h"
#include "base/views.h"
#include "base/wait_cursor.h"
#include "groups/group_list.h"
#include "groups/newsgroups.h"
#include "mime/harmless.h"
#include "store/chains.h"
#include "store/new_group.h"
#include "store/records.h"
#include "thread/moves.h"
#include "thread/view.h"
#include "util/format.h"
#include "util/news_link.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::size_t kLongestShown = 200;
constexpr std::u16string_view kNotStored =
    u"The article of this link is not stored here. Articles come when you connect, from the "
    u"newsgroups in your list; an old one may not be on the server any more.";

// As much of a foreign text as a box has room for.
std::u16string Shown(std::u16string text) {
  MakeOneLine(text, 0);
  if (text.size() <= kLongestShown) return text;
  return text.substr(0, kLongestShown) + u"...";
}

void TellFault(NewsLinkFault fault, std::u16string_view link) {
  const std::u16string shown = Shown(std::u16string(link));
  if (fault == NewsLinkFault::kTooLong) {
    ShowMessage(
        u"Quillet CE cannot open this link, because it is too long for a link to a newsgroup or an "
        u"article.");
  } else if (fault == NewsLinkFault::kNoSingleGroup) {
    ShowMessage(FormatWide(
        u"The link \"%ls\" does not name one newsgroup. Quillet CE opens links to one newsgroup or "
        u"one article.",
        shown));
  } else {
    ShowMessage(FormatWide(
        u"Quillet CE cannot open the link \"%ls\", because it is damaged or does not lead to a "
        u"newsgroup or an article.",
        shown));
  }
}

// --- Servers -------------------------------------------------------------------------------------

// A port that the link does not name is any: a server has one for each kind of connection.
bool IsServerOf(const NewsLink& link, std::size_t server) {
  return EqualsNoCase(gPrefs->servers[server], FromUtf8(link.server)) &&
         (link.port == 0 || gPrefs->port[server] == link.port);
}

bool NamesForeignServer(const NewsLink& link) {
  if (link.server.empty()) return false;
  for (std::size_t server = 0; server < gPrefs->numservers; ++server) {
    if (IsServerOf(link, server)) return false;
  }
  return true;
}

// To stand before what is said of the link; empty when its server is one of the user's, or none.
std::u16string NoteOnServer(const NewsLink& link) {
  if (!NamesForeignServer(link)) return {};
  const std::u16string host = FromUtf8(link.server);
  const std::u16string port = FormatWide(u":%u", link.port);
  return FormatWide(u"The link names the news server \"%ls%ls\", which is not one of yours.",
                    Shown(host), link.port == 0 ? u"" : port) +
         u" ";
}

// --- Groups --------------------------------------------------------------------------------------

// False when it could not be read to its end, because the user cancelled that.
bool ShowWholeGroup(GroupIndex group) {
  ShowGroup(group);
  return gReading.tree && !gReading.rebuild_pending;
}

void OfferGroup(const NewsLink& link) {
  std::u16string name = link.group;
  if (const std::u16string complaint = JudgeNewGroupName(name); !complaint.empty()) {
    ShowMessage(complaint);
    return;
  }
  const std::u16string question = FormatWide(
      u"The link leads to the newsgroup \"%ls\", which is not in your list. Would you like to add "
      u"it? Its articles come with the next connection to your news server.",
      Shown(name));
  if (!AskYesNo(NoteOnServer(link) + question, port::kIdNo)) return;
  AddNewsgroupToPrefs(name);
  ClearArticleView();
  SelectView(port::kGroupTab);
  FillGroupListAt(FindNewsgroup(name));
}

// --- Articles ------------------------------------------------------------------------------------

bool ChainHas(std::u16string_view group, std::string_view message_id) {
  for (auto record = GroupChainFirst(group); record; record = GroupChainNext()) {
    if (record->messageId == message_id) return true;
  }
  return false;
}

// The groups whose names stand in the article's header lines are looked through first: chains may
// be long.
std::optional<GroupIndex> GroupOfArticle(const AsciiArticle& article) {
  const std::string headers = article.headers.value_or("");
  for (const bool named : {true, false}) {
    for (std::size_t i = 0; i < gPrefs->numgroups; ++i) {
      const std::u16string& group = gPrefs->groups[i];
      const bool is_named = headers.find(NarrowGroupName(group)) != headers.npos;
      if (is_named == named && ChainHas(group, *article.messageId)) return GroupAt(i);
    }
  }
  return std::nullopt;
}

std::optional<GroupIndex> FindGroupOfArticle(const std::string& message_id) {
  const WaitCursor wait;
  const std::unique_ptr<AsciiArticle> article = FetchArticle(message_id);
  if (!article) return std::nullopt;
  article->messageId = message_id;
  // The one that is being read is the one that the user expects.
  if (IsInList(gReading.group) && ChainHas(gPrefs->groups[IndexOf(*gReading.group)], message_id)) {
    return gReading.group;
  }
  return GroupOfArticle(*article);
}

void ShowNode(Node& node) {
  SelectNode(node);
  DisplayArticle(&node, {});
}

// A stored article is opened without a word, whatever server the link names: a Message-ID is the
// same article everywhere.
void OpenArticleLink(const NewsLink& link) {
  const std::optional<GroupIndex> group = FindGroupOfArticle(link.message_id);
  if (!group) {
    ShowMessage(NoteOnServer(link) + std::u16string(kNotStored));
    return;
  }
  if (!ShowWholeGroup(*group)) return;
  if (Node* node = gReading.tree->FindNodeByMessageId(link.message_id)) ShowNode(*node);
}

Node* FindNodeByNumber(const NewsLink& link) {
  for (Node* node = &gReading.tree->root(); node != nullptr; node = NextNode(*node)) {
    if (node->kind == NodeKind::kArticle &&
        static_cast<std::uint32_t>(node->articleNumber) == *link.number &&
        node->source.size() == link.server.size() && StartsWithNoCase(node->source, link.server)) {
      return node;
    }
  }
  return nullptr;
}

void OpenArticleByNumber(const NewsLink& link) {
  if (NamesForeignServer(link)) {
    ShowMessage(NoteOnServer(link) +
                u"Each server counts the articles of a newsgroup in its own way, so that the one "
                u"of this link cannot be found.");
  } else if (Node* node = FindNodeByNumber(link)) {
    ShowNode(*node);
  } else {
    ShowMessage(kNotStored);
  }
}

void OpenGroupLink(const NewsLink& link) {
  const std::optional<GroupIndex> group = FindNewsgroup(link.group);
  if (!group) return OfferGroup(link);
  if (!ShowWholeGroup(*group)) return;
  if (link.number) return OpenArticleByNumber(link);
  if (!NamesForeignServer(link)) return;
  ShowMessage(NoteOnServer(link) + u"This is the newsgroup as your own servers have it.");
}

}  // namespace

void OpenNewsLink(std::u16string_view text) {
  const NewsLink link = ParseNewsLink(ToUtf8(text));
  if (link.fault != NewsLinkFault::kNone) return TellFault(link.fault, text);
  link.message_id.empty() ? OpenGroupLink(link) : OpenArticleLink(link);
}

}  // namespace quillet
