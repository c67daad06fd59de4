// SPDX-License-Identifier: GPL-3.0-or-later
// Takes every message of the main window to whom it concerns: commands to the table of those common
// to all views, then to the view in front; keys, tabs, rows and links likewise. Also shows and
// changes views, makes the window and its controls, and closes it: kClose may delete articles
// first, kEndSession never does.
#include "app/main_window.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "app/about.h"
#include "app/open_prefs.h"
#include "app/place.h"
#include "app/quick_setup.h"
#include "app/startup.h"
#include "article/attachments.h"
#include "article/commands.h"
#include "article/headers_dialog.h"
#include "article/panes.h"
#include "article/view.h"
#include "base/app_messages.h"
#include "base/guarded.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/reset.h"
#include "base/subscriptions.h"
#include "base/upward_calls.h"
#include "base/user_guide.h"
#include "base/views.h"
#include "base/window_procedures.h"
#include "groups/group_list.h"
#include "groups/news_links.h"
#include "groups/read_on.h"
#include "nntp/connect.h"
#include "nntp/error_log.h"
#include "nntp/mbox_import.h"
#include "port/dialogs.h"
#include "port/message_queue.h"
#include "port/platform.h"
#include "port/shell.h"
#include "post/editor.h"
#include "post/queue.h"
#include "res/commands.h"
#include "res/resource.h"
#include "store/databases.h"
#include "store/deletion.h"
#include "thread/commands.h"
#include "thread/view.h"

namespace quillet {
namespace {

constexpr int kMenuBarHeight = 26;

// The key of an accelerator, until it is released: that release is no key of the article view.
std::uint32_t gAcceleratorKey = 0;

// The last key that was pressed and is no accelerator.
port::Message gPressed;

// A download is wanted, and its turn has been posted.
bool gScheduledWaits = false;

// Nobody was there to be asked about a draft when the program started.
bool gDraftWaits = false;

const ResetAtEnd kReset([] {
  gAcceleratorKey = 0;
  gPressed = {};
  gScheduledWaits = false;
  gDraftWaits = false;
});

int ShownTab() {
  return gPlatform->windows.SelectedTab();
}

// --- Changing views ----------------------------------------------------------------------------

void ShowGroupView() {
  SelectView(port::kGroupTab);
  FillGroupList();
}

void EnterThreadView(bool from_group_view) {
  if (!from_group_view || !OpenSelectedGroup()) ShowThreadView();
}

// An opened node's article is on the screen already.
void EnterArticleView(bool from_thread_view) {
  if (from_thread_view) {
    if (OpenSelectedNode()) return;
    ClearArticleView();
  }
  DisplayCurrentArticle({});
}

// The user has changed the tab. Each view is shown by selecting it once more: what was handled
// since the user's choice may have shown another one.
void HandleTabChanged(int tab, int old_tab) {
  if (tab == port::kGroupTab) ShowGroupView();
  if (tab == port::kThreadTab) EnterThreadView(old_tab == port::kGroupTab);
  if (tab == port::kArticleTab) EnterArticleView(old_tab == port::kThreadTab);
}

void GoBackOneView() {
  if (ShownTab() == port::kThreadTab) return ShowGroupView();
  if (ShownTab() == port::kArticleTab) ShowThreadView();
}

void HandleKeyUp(std::uint32_t key) {
  if (key == gAcceleratorKey) {
    gAcceleratorKey = 0;
    return;
  }
  if (key == port::kKeyEscape || key == port::kKeyF24) return GoBackOneView();
  // With the modifiers of its press: Shift may be released before the space bar is.
  const port::Message pressed = std::exchange(gPressed, {});
  if (ShownTab() == port::kArticleTab) HandleArticleKey(key);
  if (ShownTab() != port::kGroupTab && pressed.id == key) HandleReadingKey(key, pressed.detail);
}

// A row of the group list or an item of the thread tree, whichever is shown. Activating an item
// selects it first. So a number that is not the selected item's comes from a control that was in
// front before, a row of the group list say, and was still waiting when the view changed: it is
// passed over.
void HandleItemActivated(std::uint32_t item) {
  if (ShownTab() == port::kGroupTab) {
    OpenSelectedGroup();
  } else if (ShownTab() == port::kThreadTab && gPlatform->thread_tree.SelectedItem() == item) {
    HandleThreadItemActivated(item);
  }
}

void OpenLink(std::u16string_view target) {
  if (target.empty()) return;
  if (IsAttachmentTarget(target)) return SaveAttachment(target);
  if (!gPlatform->shell.OpenLink(target)) {
    ShowMessage(
        u"The link could not be opened. Please check that a program for such links is "
        u"installed.");
  }
}

// --- Commands common to all views --------------------------------------------------------------

void CloseCommand() {
  gPlatform->messages.Post({gMainWindow, port::MessageKind::kClose, 0, 0, {}});
}
void ConnectByUser() {
  ConnectCommand(true);
}
void PreferencesCommand() {
  OpenPreferences(PreferencesPage::kLastShown);
}

struct CommonCommand {
  std::uint32_t id;
  void (*run)();
};

// --- Writing -------------------------------------------------------------------------------------

// The names of the groups whose boxes are ticked; of the shown group anywhere else.
std::u16string NewsgroupsToWriteTo() {
  std::u16string names;
  if (ShownTab() != port::kGroupTab) {
    return IsInList(gReading.group) ? gPrefs->groups[IndexOf(gReading.group)] : names;
  }
  for (const GroupIndex group : CheckedGroups(*gPrefs)) {
    if (!names.empty()) names += u',';
    names += gPrefs->groups[IndexOf(group)];
  }
  return names;
}

// The group view's and the thread view's.
void NewArticleCommand() {
  if (ShownTab() == port::kArticleTab) return;
  if (const auto names =
          Guarded(u"HandleGroupCommand", [] { return std::optional(NewsgroupsToWriteTo()); })) {
    StartNewArticle(*names);
  }
}

void ViewPostQueueCommand() {
  if (ShownTab() == port::kGroupTab) ShowPendingPosts();
}

// Of the article that is shown, if one is.
bool ArticleIsShown() {
  return ShownTab() == port::kArticleTab && gReading.article != nullptr;
}
void NewArticleFromArticleCommand() {
  if (ArticleIsShown()) StartNewArticle(gReading.article_group);
}
void ReplyCommand() {
  if (ArticleIsShown()) StartReply(*gReading.article, gReading.article_group);
}
void ForwardCommand() {
  if (ArticleIsShown()) StartForward(*gReading.article, gReading.article_group);
}

// Import and Quick Setup are claimed here, so that they never reach a view's handler; and what
// writes articles, since the views stand below the editors; and the next unread article, which may
// be in another group.
constexpr auto kCommonCommands = std::to_array<CommonCommand>({
    {kCommandAbout, ShowAbout},
    {kCommandUserGuide, OpenUserGuide},
    {kCommandClose, CloseCommand},
    {kCommandConnect, ConnectByUser},
    {kCommandPreferences, PreferencesCommand},
    {kCommandImport, ImportCommand},
    {kCommandQuickSetup, RunQuickSetup},
    {kCommandNewArticle, NewArticleCommand},
    {kCommandNewArticleFromArticle, NewArticleFromArticleCommand},
    {kCommandReply, ReplyCommand},
    {kCommandForward, ForwardCommand},
    {kCommandViewPostQueue, ViewPostQueueCommand},
    {kCommandNextUnread, NextUnread},
});

void HandleCommand(std::uint32_t command) {
  for (const CommonCommand& entry : kCommonCommands) {
    if (entry.id == command) return entry.run();
  }
  if (ShownTab() == port::kGroupTab) return HandleGroupCommand(command);
  if (ShownTab() == port::kThreadTab) return HandleThreadCommand(command);
  ArticleCommand(command);
}

// After what may have changed the store: whoever looks at the threads sees the new ones.
void RebuildShownThreads() {
  if (gReading.tree_state.OutOfDate() && ShownTab() == port::kThreadTab) ShowThreadView();
}

void RefreshCounts() {
  RefreshGroupCounts();
  RebuildShownThreads();
}

void RefillGroupList() {
  FillGroupList();
  RebuildShownThreads();
}

// Scheduled starts that had to wait, for an operation or an open question, are one: whatever came
// before the turn is served by it.
void WantScheduledDownload() {
  if (gScheduledWaits) return;
  gScheduledWaits = true;
  PostToMainWindow(kUserScheduledTurn);
}

void ScheduledDownload() {
  gScheduledWaits = false;
  FillGroupList();
  ConnectCommand(false);
}

void HandleUser(const port::Message& message) {
  switch (message.id) {
    case kUserScheduledDownload:
      return WantScheduledDownload();
    case kUserScheduledTurn:
      return ScheduledDownload();
    case kUserRefreshCounts:
      return RefreshCounts();
    case kUserRefillGroupList:
      return RefillGroupList();
    case kUserPostQueued:
      RefreshCounts();
      if (ShownTab() == port::kGroupTab) RefillGroupList();
      return;
    case kUserDraftNotSaved:
      return TellOfUnsavedDraft();
    case kUserShowPostQueue:
      return ShowPendingPosts();
    case kUserOfferDraft:
      return OfferDraft();
    case kUserNewsLink:
      return OpenNewsLink(message.text);
    case kUserRestorePlace:
      return RestorePlace();
    default:
      return;
  }
}

// --- Closing -----------------------------------------------------------------------------------

// Every group by its index, whatever its box; queued posts stay. The shown tree is left alone: a
// critical error may have closed the window while somebody walks it.
void DeleteOnQuit() {
  gUpwardCalls.shown_tree = {};
  if (!gPrefs || gPrefs->autodeleteonquit == 0 || OperationRunning() || !DatabasesOpen()) return;
  for (std::size_t i = 0; i < gPrefs->numgroups; ++i) {
    if (DeleteArticlesOf(gPrefs->autodeleteread != 0, GroupAt(i)) != RunEnd::kGoOn) return;
  }
}

void DestroyQuilletWindow() {
  CloseEditorForQuit();
  ShutDown();
  gPlatform->shell.SetInstanceWindow(0, {});
  CloseErrorLog();
  DestroyMainWindow();
  gPlatform->messages.PostQuit(0);
}

// `asks`: the user closes it, and may change his mind.
void CloseMainWindow(bool asks) {
  if (asks && !EditorLetsQuit()) return;
  // From inside an operation only what cannot go on closes the window.
  if (!asks || OperationRunning()) KeepOnlyTheGroup();
  DeleteOnQuit();
  // A critical error during the deletion has closed the window already.
  if (gMainWindow != 0) DestroyQuilletWindow();
}

// --- Messages ---------------------------------------------------------------------------------

bool IsOfTheUser(port::MessageKind kind) {
  return kind == port::MessageKind::kCommand || kind == port::MessageKind::kTabChanged ||
         kind == port::MessageKind::kRowChecked || kind == port::MessageKind::kItemActivated;
}

void HandleMessage(const port::Message& message) {
  switch (message.kind) {
    case port::MessageKind::kCommand:
      return HandleCommand(message.id);
    case port::MessageKind::kKeyUp:
      return HandleKeyUp(message.id);
    case port::MessageKind::kTabChanged:
      return HandleTabChanged(static_cast<int>(message.id), static_cast<int>(message.detail));
    case port::MessageKind::kRowChecked:
      return HandleRowChecked(message.id, message.detail != 0, message.text);
    case port::MessageKind::kColumnSized:
      return HandleColumnSized(message.id, message.detail);
    case port::MessageKind::kItemActivated:
      return HandleItemActivated(message.id);
    case port::MessageKind::kContextMenu:
      if (ShownTab() == port::kThreadTab) HandleThreadContextMenu(message.id);
      return;
    case port::MessageKind::kHeaderTapped:
      if (ShownTab() == port::kArticleTab) ShowMessageHeaders();
      return;
    case port::MessageKind::kLink:
      return OpenLink(message.text);
    case port::MessageKind::kSize: {
      const port::Size size{static_cast<int>(message.id), static_cast<int>(message.detail)};
      if (size == InsideSize()) return;
      KeepInsideSize(size);
      return LayOutWindow();
    }
    case port::MessageKind::kUser:
      return HandleUser(message);
    case port::MessageKind::kClose:
      return CloseMainWindow(message.detail != kCloseAfterCriticalError);
    case port::MessageKind::kEndSession:
      return DestroyQuilletWindow();
    default:
      return;
  }
}

void MainWindowProcedure(const port::Message& message) {
  if (IsOfTheUser(message.kind) && std::exchange(gDraftWaits, false)) OfferDraftSoon();
  HandleMessage(message);
  if (gMainWindow != 0) KeepPlaceOfNewGroup();
}

}  // namespace

bool CreateQuilletWindow() {
  const port::Size area = gPlatform->windows.WorkArea();
  const port::Size inside{area.width, area.height - kMenuBarHeight};
  const port::WindowHandle window = gPlatform->windows.CreateMainWindow(
      {u"Quillet CE", ProgramName(), kIconMain, inside, KeptWindowPlace()});
  if (window == 0) return false;
  KeepInsideSize(inside);
  SetProcedure(window, MainWindowProcedure);
  gMainWindow = window;
  gPlatform->shell.SetInstanceWindow(window,
                                     {.download = kUserScheduledDownload, .link = kUserNewsLink});
  return true;
}

void CreateViews() {
  gPlatform->windows.CreateTabs(
      static_cast<port::TabPlacement>(gPrefs->sidetabs > 2 ? 0 : gPrefs->sidetabs));
  ForgetArticlePanes();
  CreateGroupList();
  LayOutWindow();
}

void OfferDraftSoon() {
  PostToMainWindow(kUserOfferDraft);
}

void OfferDraftWhenSomebodyIsThere() {
  gDraftWaits = true;
}

void RebuildViews() {
  ClearArticleView();
  ClearThreadView();
  gReading.group.reset();
  CreateViews();
}

bool TranslateAccelerator(const port::Message& message) {
  if (message.kind != port::MessageKind::kKeyDown || message.window != gMainWindow) return false;
  const std::uint32_t command = FindAccelerator(ShownTab(), message.id, message.detail);
  gPressed = command == 0 ? message : port::Message();
  if (command == 0) {
    if (gAcceleratorKey == message.id) gAcceleratorKey = 0;
    return false;
  }
  gAcceleratorKey = message.id;
  MainWindowProcedure({message.window, port::MessageKind::kCommand, command, 0, {}});
  return true;
}

}  // namespace quillet
