#include "app/main_window.h"

#include <array>
#include <cstdint>

#include "app/base/app_messages.h"
#include "app/base/long_operation.h"
#include "app/base/messages.h"
#include "app/base/modal_dialog.h"
#include "app/base/prefs.h"
#include "app/open_prefs.h"
#include "app/startup.h"
#include "groups/group_list.h"
#include "nntp/connect.h"
#include "port/platform.h"
#include "res/commands.h"
#include "res/resource.h"
#include "store/databases.h"
#include "store/maintenance.h"

namespace quillet {
namespace {

// Room for a bar below the window, and for the article view's own toolbar below its tabs.
constexpr int kBarHeight = 26;

port::Size gInside;        // kept size of the window's inside
int gTabBeforeChange = 0;  // kept when the tab control reports that the selection will change

void LayOutWindow() {
  port::Size tabs = gInside;
  if (gPlatform->windows.SelectedTab() == port::kArticleTab) tabs.height -= kBarHeight;
  gPlatform->windows.LayOut(gInside, tabs);
}

void HandleTabChanged(int tab) {
  LayOutWindow();
  if (tab == port::kGroupTab) FillGroupList();
  if (tab == port::kThreadTab && gTabBeforeChange == port::kGroupTab) OpenSelectedGroup();
}

void ShowTab(int tab) {
  gTabBeforeChange = gPlatform->windows.SelectedTab();
  gPlatform->windows.SelectTab(tab);
  HandleTabChanged(tab);
}

void GoBackOneView() {
  const int tab = gPlatform->windows.SelectedTab();
  if (tab == port::kThreadTab || tab == port::kArticleTab) ShowTab(tab - 1);
}

void HandleKeyUp(std::uint32_t key) {
  if (key == port::kKeyEscape || key == port::kKeyF24) GoBackOneView();
}

void OpenLink(std::u16string_view target) {
  if (target.empty()) return;
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
  OpenPrefs(0);
}
void AboutCommand() {
  RunModalDialog(kDialogAbout, nullptr, EndOnOkOrCancel);
}
void LaterCommand() {}

struct CommonCommand {
  std::uint32_t id;
  void (*run)();
};

// Import and Quick Setup are claimed here, so that they never reach a view's handler.
constexpr std::array<CommonCommand, 6> kCommonCommands = {{
    {kCommandAbout, AboutCommand},
    {kCommandClose, CloseCommand},
    {kCommandConnect, ConnectByUser},
    {kCommandPreferences, PreferencesCommand},
    {kCommandImport, LaterCommand},
    {kCommandQuickSetup, LaterCommand},
}};

void HandleCommand(std::uint32_t command) {
  for (const CommonCommand& entry : kCommonCommands) {
    if (entry.id == command) return entry.run();
  }
  if (gPlatform->windows.SelectedTab() == port::kGroupTab) HandleGroupCommand(command);
}

void HandleUser(std::uint32_t id) {
  switch (id) {
    case kUserScheduledDownload:
      FillGroupList();
      ConnectCommand(false);
      return;
    case kUserRefreshCounts:
      RefreshGroupCounts();
      return;
    case kUserRefillGroupList:
      FillGroupList();
      return;
    default:
      return;
  }
}

// --- Closing -----------------------------------------------------------------------------------

// Every group by its index, whatever its box; queued posts stay.
void DeleteOnQuit() {
  if (!gPrefs || gPrefs->autodeleteonquit == 0 || OperationRunning() || !DatabasesOpen()) return;
  for (std::size_t i = 0; i < gPrefs->numgroups; ++i) {
    if (DeleteArticles(gPrefs->autodeleteread != 0, static_cast<int>(i)) == 0) return;
  }
}

void DestroyQuilletWindow() {
  ShutDown();
  gPlatform->shell.SetInstanceWindow(0, 0);
  gPlatform->windows.DestroyMainWindow();
  gMainWindow = 0;
  gMessageOwner = 0;
  gPlatform->messages.PostQuit(0);
}

void CloseMainWindow() {
  DeleteOnQuit();
  // A critical error during the deletion has closed the window already.
  if (gMainWindow != 0) DestroyQuilletWindow();
}

}  // namespace

bool CreateQuilletWindow() {
  const port::Size area = gPlatform->windows.WorkArea();
  gInside = {area.width, area.height - kBarHeight};
  const port::WindowHandle window = gPlatform->windows.CreateMainWindow(
      {u"Quillet CE", u"Quillet CE 1.14r3", kIconMain, gInside});
  if (window == 0) return false;
  gMainWindowProcedure = MainWindowProcedure;
  gMainWindow = window;
  gMessageOwner = window;
  gPlatform->shell.SetInstanceWindow(window, kUserScheduledDownload);
  return true;
}

void CreateViews() {
  gPlatform->windows.CreateTabs(
      static_cast<port::TabPlacement>(gPrefs->sidetabs > 2 ? 0 : gPrefs->sidetabs));
  CreateGroupList();
  ForgetGroupList();
  FillGroupList();
  LayOutWindow();
}

void RebuildViews() {
  SaveGroupChecks();
  gCurrentGroup = -1;
  CreateViews();
}

bool TranslateAccelerator(const port::Message& message) {
  if (message.kind != port::MessageKind::kKeyDown || message.window != gMainWindow) return false;
  const std::uint32_t command =
      FindAccelerator(gPlatform->windows.SelectedTab(), message.id, message.detail);
  if (command == 0) return false;
  MainWindowProcedure({message.window, port::MessageKind::kCommand, command, 0, {}});
  return true;
}

void MainWindowProcedure(const port::Message& message) {
  if (message.window == 0 || message.window != gMainWindow) return;
  switch (message.kind) {
    case port::MessageKind::kCommand:
      return HandleCommand(message.id);
    case port::MessageKind::kKeyUp:
      return HandleKeyUp(message.id);
    case port::MessageKind::kTabChanging:
      gTabBeforeChange = static_cast<int>(message.detail);
      return;
    case port::MessageKind::kTabChanged:
      return HandleTabChanged(static_cast<int>(message.id));
    case port::MessageKind::kItemActivated:
      return ShowTab(port::kThreadTab);
    case port::MessageKind::kLink:
      return OpenLink(message.text);
    case port::MessageKind::kSize: {
      const port::Size size{static_cast<int>(message.id), static_cast<int>(message.detail)};
      if (size == gInside) return;
      gInside = size;
      return LayOutWindow();
    }
    case port::MessageKind::kUser:
      return HandleUser(message.id);
    case port::MessageKind::kClose:
      return CloseMainWindow();
    case port::MessageKind::kEndSession:
      return DestroyQuilletWindow();
    default:
      return;
  }
}

}  // namespace quillet
