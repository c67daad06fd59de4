// SPDX-License-Identifier: GPL-3.0-or-later
// The generated widget code of the forms by their resource ids. The tables are made from the .ui
// files at build time. Display thread only.
#pragma once

#include <QWidget>
#include <cstdint>
#include <span>

namespace quillet::qt {

struct FormEntry {
  std::uint32_t id = 0;
  bool is_page = false;  // its widget is a page of a property sheet, else a QDialog
  void (*set_up)(QWidget& widget) = nullptr;
};

// Root is what the form's own widget is.
template <class Form, class Root>
void SetUpForm(QWidget& widget) {
  Form form;
  form.setupUi(static_cast<Root*>(&widget));
}

// The forms of res/.
std::span<const FormEntry> ProductForms();

// Lets FindForm find these forms too: a test brings forms of its own. The table must last. Before
// any display exists.
void AddForms(std::span<const FormEntry> more);

// Null when there is no such form.
const FormEntry* FindForm(std::uint32_t id);

}  // namespace quillet::qt
