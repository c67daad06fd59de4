// The dialog forms as widgets. Display thread only.
#pragma once

#include <QAbstractButton>
#include <QDialog>
#include <cstdint>
#include <functional>

namespace quillet::qt {

// A dialog made from the form of that resource id, hidden; null when there is no such form.
// `pressed` gets the control id of every button pressed; Escape and the frame's close button are
// control 2 and leave the dialog open.
QDialog* NewFormDialog(std::uint32_t form, QWidget* owner,
                       const std::function<void(std::uint32_t control)>& pressed);

// The widget with that control id; null when there is none.
QWidget* ControlOf(const QWidget& dialog, std::uint32_t control);

}  // namespace quillet::qt
