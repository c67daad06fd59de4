// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/property_sheets.h"

#include <memory>
#include <vector>

#include "qt/dialogs.h"
#include "qt/forms.h"
#include "qt/sheet_dialog.h"
#include "qt/text.h"

namespace quillet::qt {
namespace {

using port::WindowHandle;
using Widgets = std::vector<std::unique_ptr<QWidget>>;

// Nothing when a page has no form.
Widgets NewPages(port::ThreadQueues& queues, std::span<const port::SheetPage> pages,
                 const std::vector<WindowHandle>& handles) {
  Widgets widgets;
  for (std::size_t i = 0; i < pages.size(); ++i) {
    widgets.emplace_back(NewFormPage(pages[i].form, TellWindow(queues, handles[i])));
    if (widgets.back() == nullptr) return {};
  }
  return widgets;
}

}  // namespace

WindowHandle QtPropertySheets::Create(std::u16string_view title,
                                      std::span<const port::SheetPage> pages, WindowHandle owner) {
  // Here: windows belong to the calling thread.
  const WindowHandle sheet = display_.queues.AddWindow();
  std::vector<WindowHandle> handles;
  for (std::size_t i = 0; i < pages.size(); ++i) handles.push_back(display_.queues.AddWindow());
  bool created = false;
  display_.jobs.Call([&] {
    Widgets widgets = NewPages(display_.queues, pages, handles);
    if (widgets.empty()) return;
    std::vector<SheetDialog::Page> named;
    for (std::size_t i = 0; i < pages.size(); ++i) {
      display_.windows[handles[i]] = widgets[i].get();
      named.push_back({ToQt(pages[i].caption), widgets[i].release()});
    }
    display_.windows[sheet] = new SheetDialog(ToQt(title), named, display_.WidgetOf(owner),
                                              TellWindow(display_.queues, sheet));
    display_.sheet_pages[sheet] = handles;
    created = true;
  });
  if (created) return sheet;
  display_.queues.RemoveWindow(sheet);
  for (const WindowHandle page : handles) display_.queues.RemoveWindow(page);
  return 0;
}

WindowHandle QtPropertySheets::Page(WindowHandle sheet, int page) {
  WindowHandle handle = 0;
  display_.jobs.Call([&] {
    const auto pages = display_.sheet_pages.find(sheet);
    if (pages == display_.sheet_pages.end() || page < 0) return;
    const auto index = static_cast<std::size_t>(page);
    if (index < pages->second.size()) handle = pages->second[index];
  });
  return handle;
}

void QtPropertySheets::ShowPage(WindowHandle sheet, int page) {
  display_.jobs.Call([&] {
    auto* dialog = dynamic_cast<SheetDialog*>(display_.WidgetOf(sheet));
    if (dialog != nullptr) dialog->ShowPage(page);
  });
}

}  // namespace quillet::qt
