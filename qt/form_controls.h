// SPDX-License-Identifier: GPL-3.0-or-later
// The controls of one form by their ids. Display thread only.
#pragma once

#include <QWidget>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

#include "qt/menu_place.h"

namespace quillet::qt {

// What every form's widget is besides: a dialog or a page.
class FormControls {
 public:
  virtual ~FormControls() = default;

  // Looks the controls up, once the form has been set up.
  void Collect(const QWidget& form) {
    for (QWidget* widget : form.findChildren<QWidget*>()) {
      const QVariant id = widget->property("controlId");
      if (id.isValid() && id.toUInt() != 0) controls_.emplace(id.toUInt(), widget);
    }
  }
  // Null when there is none.
  QWidget* Find(std::uint32_t id) const {
    const auto found = controls_.find(id);
    return found == controls_.end() ? nullptr : found->second;
  }
  const std::map<std::uint32_t, QWidget*>& All() const { return controls_; }

  // Where a menu of this form belongs: at the row it was asked for, or at the button pressed last.
  std::optional<MenuPlace> menu_place;

  // Called at once when the user has changed something; shared, since controls may outlive this.
  std::shared_ptr<std::function<void()>> edited = std::make_shared<std::function<void()>>();

 private:
  std::map<std::uint32_t, QWidget*> controls_;
};

}  // namespace quillet::qt
