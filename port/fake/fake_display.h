// A display without pixels: everything the program shows is kept as values, and what a user would
// do comes as calls. Unit tests use it as the display of the device, and so does the scripted
// front.
//
// Any thread. What the program calls is stated in the port headers; calls from a thread that they
// do not allow are failures.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "port/article_panes.h"
#include "port/common/thread_queues.h"
#include "port/dialogs.h"
#include "port/fake/display_observer.h"
#include "port/fake/failure.h"
#include "port/file_dialogs.h"
#include "port/list_view.h"
#include "port/message_box.h"
#include "port/platform.h"
#include "port/pop_up_menus.h"
#include "port/tree_view.h"
#include "port/windows.h"

namespace quillet::port {

// The key that asks for a menu: the display's own, the program never hears of it by that name.
constexpr std::uint32_t kKeyContextMenu = 0x5D;

// The indexes of the rows that no collapsed row hides, from the top.
std::vector<std::size_t> VisibleRows(const ShownTree& tree);

class FakeDisplay final : public MessageBoxes,
                          public Windows,
                          public ListView,
                          public Dialogs,
                          public TreeView,
                          public PopUpMenus,
                          public ArticlePanes,
                          public FileDialogs {
 public:
  explicit FakeDisplay(ThreadQueues& queues) : queues_(queues) {}

  DisplayServices Services() { return {*this, *this, *this, *this, *this, *this, *this, *this}; }

  // Before the program runs. The observer must outlive the display.
  void SetObserver(DisplayObserver* observer) { observer_ = observer; }
  FailureHandler on_failure = DefaultFailureHandler();

  // --- announced answers ---

  // The next box whose text begins so gets that answer. A box that nobody announced is a failure
  // and gets No or Cancel, unless it has but an OK. An announcement left over is a failure too.
  void Expect(std::u16string text_prefix, int answer);
  // The same for any number of boxes, none included. Looked at after Expect.
  void Allow(std::u16string text_prefix, int answer);
  // When a dialog of that form is shown next, `act` is called with it on the thread that showed it.
  // One that is left over is a failure.
  void WhenShown(std::uint32_t form, std::function<void(WindowHandle dialog)> act);
  // Presses Cancel in the progress dialog after the nth text that is set into its controls 1020 and
  // 1022 from now on, the title included; 0: as soon as it is shown. The press has been handled
  // when the next call to the display from another thread than the dialog's returns.
  void CancelProgressAfter(int n);
  // In the next pop-up menu the entry with that text is chosen; empty: the menu is dismissed. A
  // menu that nobody announced is dismissed and a failure, as is a text that it does not have and
  // an announcement left over.
  void ExpectPopUp(std::u16string entry);
  // The next save dialog returns that path; nothing: it is cancelled. One that nobody announced is
  // cancelled and a failure.
  void ExpectSaveFile(std::optional<std::u16string> path);
  // Failures for what was announced and did not happen (once).
  void Verify();

  // --- what is shown ---

  std::vector<ShownBox> boxes() const;  // in the order of their appearance
  bool BoxOpen() const;
  void ForgetBoxes();
  struct ProgressText {
    std::uint32_t control = 0;
    std::u16string text;
    bool operator==(const ProgressText&) const = default;
  };
  // Every text set into controls 1020 and 1022 of a progress dialog.
  std::vector<ProgressText> progress_texts() const;
  void ForgetProgressTexts();
  int wait_cursor_depth() const;
  int wait_cursor_shows() const;  // times it went on
  int beeps() const;
  struct InjectedKey {
    std::uint32_t key = 0;
    WindowHandle target = 0;  // 0: no window had the focus
    bool operator==(const InjectedKey&) const = default;
  };
  std::vector<InjectedKey> injected_keys() const;

  ShownMainWindow main_window() const;
  ShownList list() const;
  // The row with that name; -1 when there is none.
  int FindRow(std::u16string_view name) const;
  ShownTree tree() const;
  std::size_t tree_rows() const;  // how many; costs less than tree()
  std::u16string caption() const;
  // The item of the first row with that text; 0 when there is none.
  TreeItem FindItem(std::u16string_view text) const;
  ShownArticle article() const;
  // Every pop-up menu and save dialog so far.
  std::vector<std::vector<PopUpEntry>> pop_ups() const;
  std::vector<SaveFileTraits> save_dialogs() const;
  // The dialogs that exist, in the order of their creation; also those not shown yet.
  std::vector<ShownDialog> dialogs() const;
  std::optional<ShownDialog> FindDialog(WindowHandle dialog) const;
  std::optional<ShownControl> Control(WindowHandle dialog, std::uint32_t control) const;
  // The newest existing dialog of that form; 0 when there is none.
  WindowHandle DialogOfForm(std::uint32_t form) const;
  // The dialog or main window that has the focus: the last dialog shown, else the main window; 0
  // when nothing is shown.
  WindowHandle Focus() const;
  // True when the window exists, is shown, and neither a dialog nor a box takes its input away.
  bool TakesInput(WindowHandle window) const;

  // Waits until the condition holds; it is tested after every change of the display. False after
  // that many milliseconds of real time.
  bool WaitUntil(const std::function<bool()>& condition, int timeout_ms = 10000) const;
  // Waits for a shown dialog of that form; 0 after the time-out.
  WindowHandle WaitForDialog(std::uint32_t form, int timeout_ms = 10000) const;

  // --- what the user does: false when a real display would not allow it now ---

  bool UserSelectTab(int tab);
  // A key goes to the window that has the focus. In a dialog Escape is Cancel and Return the
  // default button; in the group list the arrows, the blank and Return do what lists do, and in the
  // tree, when it has the focus, the arrows, Home, End, Return and the menu key what trees do.
  bool PressKey(std::uint32_t virtual_key, std::uint32_t modifiers = 0);
  // A command of the shown view's menu bar or buttons; others are refused.
  bool ChooseCommand(std::uint32_t command);
  // Any command, to the main window.
  bool SendCommand(std::uint32_t command);
  // A link that the article view shows.
  bool ActivateLink(std::u16string_view target);
  bool ResizeMainWindow(Size inside);
  bool CloseMainWindow();
  void EndSession();  // the system's, never refused

  bool ToggleRow(int row);
  bool SelectRow(int row);
  bool ActivateRow(int row);
  bool DragColumn(int column, int width);

  // What hides the item is expanded on the way.
  bool ClickItem(TreeItem item);  // selects it
  bool ActivateItem(TreeItem item);
  // Right click: selects it, then kContextMenu; 0: below the last row.
  bool AskItemMenu(TreeItem item);
  // Refused for an item with nothing below it. A selection that would hide moves to the item.
  bool ExpandItem(TreeItem item, bool expanded);
  bool ExpandAll(bool expanded);
  bool TapHeader();
  bool PressToolbar(std::uint32_t command);

  bool Press(WindowHandle dialog, std::uint32_t control);
  bool Choose(WindowHandle dialog, std::uint32_t control, int index);
  bool Type(WindowHandle dialog, std::uint32_t control, std::u16string_view text);
  bool Tick(WindowHandle dialog, std::uint32_t control, bool checked);
  bool CloseDialog(WindowHandle dialog);

  // A message straight into the queues, whatever is shown.
  void Inject(const Message& message) { queues_.Post(message); }

  // --- the device ---

  void SetWorkArea(Size size);
  // The next creations fail.
  void FailNextWindow(int count = 1);
  void FailNextDialog(int count = 1);
  void FailNextToolbar(int count = 1);
  // The display has gone: boxes answer themselves at once, without a failure.
  void Leave();

  // --- the services ---

  int Show(WindowHandle owner, std::u16string_view caption, std::u16string_view text,
           const BoxStyle& style) override;
  void SetWaitCursor(bool on) override;
  void Beep() override;

  Size WorkArea() override;
  WindowHandle CreateMainWindow(const MainWindowTraits& traits) override;
  void ShowMainWindow() override;
  void Raise() override;
  void DestroyMainWindow() override;
  void CreateTabs(TabPlacement placement) override;
  int SelectedTab() override;
  void SelectTab(int tab) override;
  void LayOut(Size inside, Size tabs) override;
  void SetStatusText(std::u16string_view text) override;
  void InjectKeyUp(std::uint32_t virtual_key) override;

  void Create(std::span<const ListColumn, 2> columns, std::u16string_view font_face,
              int font_size_index) override;
  void Fill(std::vector<ListRow> rows, int selected) override;
  void SetCounts(std::vector<std::u16string> counts) override;
  std::vector<CheckState> CheckStates() override;
  void SetCheckStates(std::vector<CheckState> states) override;
  int SelectedRow() override;
  std::array<std::int32_t, 2> ColumnWidths() override;

  WindowHandle Create(std::uint32_t form, WindowHandle owner) override;
  void Show(WindowHandle dialog) override;
  void Destroy(WindowHandle dialog) override;
  void SetText(WindowHandle dialog, std::uint32_t control, std::u16string_view text) override;
  std::u16string GetText(WindowHandle dialog, std::uint32_t control) override;
  void SetChecked(WindowHandle dialog, std::uint32_t control, bool checked) override;
  bool IsChecked(WindowHandle dialog, std::uint32_t control) override;
  void ShowControl(WindowHandle dialog, std::uint32_t control, bool visible) override;
  void SetChoices(WindowHandle dialog, std::uint32_t control,
                  const std::vector<std::u16string>& items) override;
  void SetChoice(WindowHandle dialog, std::uint32_t control, int index) override;
  int Choice(WindowHandle dialog, std::uint32_t control) override;
  void SelectText(WindowHandle dialog, std::uint32_t control) override;
  void SetProgressRange(WindowHandle dialog, std::uint32_t control, int upper) override;
  void SetProgressPosition(WindowHandle dialog, std::uint32_t control, int position) override;

  void CreateTree(std::u16string_view name, std::u16string_view font_face,
                  int font_size_index) override;
  bool TreeCreated() override;
  void FillTree(std::vector<TreeRow> rows) override;
  void ReplaceSubtree(TreeItem item, std::vector<TreeRow> rows) override;
  void SetLabels(std::vector<TreeLabel> labels) override;
  void SelectItem(TreeItem item) override;
  TreeItem SelectedItem() override;
  void SetCaption(std::u16string_view text) override;
  void FocusTree() override;

  std::uint32_t ShowPopUp(WindowHandle owner, const std::vector<PopUpEntry>& entries) override;

  void CreatePanes(std::u16string_view header_font_face, int header_font_pixels) override;
  bool PanesCreated() override;
  bool CreateToolbar(const std::vector<ToolbarButton>& buttons) override;
  void SetHeader(const std::array<HeaderLine, 2>& lines) override;
  void ClearViewer() override;
  void AddToViewer(std::u16string_view text, bool plain_text) override;
  void EndOfSource() override;
  void ScrollViewer(ScrollStep step) override;
  void CopyFromViewer() override;
  void FocusViewer() override;

  std::optional<std::u16string> SaveFile(WindowHandle owner, const SaveFileTraits& traits) override;

 private:
  using Lock = std::unique_lock<std::mutex>;

  struct Announcement {
    std::u16string prefix;
    int answer = 0;
  };
  struct Dialog {
    ShownDialog values;
    std::thread::id thread;
    std::uint64_t shown_at = 0;  // order of showing
    bool has_template = false;
  };
  struct ShowAction {
    std::uint32_t form = 0;
    std::function<void(WindowHandle)> act;
  };

  DisplayObserver& observer();
  // With the lock held, after every change.
  void Changed() {
    ++changes_;
    changed_.notify_all();
  }
  void CheckThread(const char* operation) const;
  int AnswerOf(const ShownBox& box);
  WindowHandle FocusLocked() const;
  bool TakesInputLocked(WindowHandle window) const;
  bool BoxBlocks(WindowHandle window) const;
  bool GroupListTakesInput() const;
  Dialog* FindOpen(WindowHandle dialog);
  const Dialog* FindOpen(WindowHandle dialog) const;
  ShownControl* FindControl(Dialog& dialog, std::uint32_t control, bool add);
  ShownControl* UsableControl(WindowHandle dialog, std::uint32_t control, ControlKind kind);
  template <class Change>
  void ChangeControl(WindowHandle dialog, std::uint32_t control, const Change& change);
  bool RowTakesInput(int row) const;
  void PressListKey(std::uint32_t virtual_key);
  void DropHiddenFocus();
  bool TreeTakesInput() const;
  bool ClickItemLocked(TreeItem item);
  void CollapseRow(std::size_t index);
  std::size_t RowAfterTreeKey(std::uint32_t virtual_key, const std::vector<std::size_t>& visible);
  void PressTreeKey(std::uint32_t virtual_key);
  bool ArticleTakesInput() const;
  bool CheckOwner(const char* operation, WindowHandle owner) const;
  bool CheckKind(const char* operation, WindowHandle dialog, std::uint32_t control,
                 ControlKind kind);
  std::uint32_t DefaultButton(const Dialog& dialog) const;
  void NoteProgressText(const Dialog& dialog, const ProgressText& text);
  void PressAwaitedCancel(const Dialog& dialog);
  void AwaitCancelHandled(WindowHandle dialog);

  ThreadQueues& queues_;
  DisplayObserver* observer_ = nullptr;

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::uint64_t changes_ = 0;
  std::deque<Announcement> expected_;
  std::vector<Announcement> allowed_;
  std::deque<ShowAction> show_actions_;
  std::vector<ShownBox> boxes_;
  std::vector<std::pair<std::uint64_t, WindowHandle>> open_boxes_;  // number, owner
  std::uint64_t last_box_ = 0;
  std::vector<ProgressText> progress_texts_;
  std::optional<int> cancel_in_;  // texts until Cancel is pressed
  WindowHandle cancelled_ = 0;    // the press may not have been handled yet
  int wait_depth_ = 0;
  int wait_shows_ = 0;
  int beeps_ = 0;
  std::vector<InjectedKey> injected_;
  ShownMainWindow window_;
  std::thread::id window_thread_;
  ShownList list_;
  ShownTree tree_;
  ShownArticle article_;
  std::deque<std::u16string> expected_pop_ups_;
  std::vector<std::vector<PopUpEntry>> pop_ups_;
  std::deque<std::optional<std::u16string>> expected_save_files_;
  std::vector<SaveFileTraits> save_dialogs_;
  int failing_toolbars_ = 0;
  std::map<WindowHandle, Dialog> dialogs_;
  std::uint64_t last_shown_ = 0;
  Size work_area_{240, 320};
  int failing_windows_ = 0;
  int failing_dialogs_ = 0;
  bool gone_ = false;
};

}  // namespace quillet::port
