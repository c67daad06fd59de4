// The dialog service on the toolkit.
#pragma once

#include <QTimer>
#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <tuple>
#include <variant>

#include "port/dialogs.h"
#include "qt/display.h"

namespace quillet::qt {

class QtDialogs final : public port::Dialogs {
 public:
  explicit QtDialogs(Display& display);

  port::WindowHandle Create(std::uint32_t form, port::WindowHandle owner) override;
  void Show(port::WindowHandle dialog) override;
  void Destroy(port::WindowHandle dialog) override;

  void SetText(port::WindowHandle dialog, std::uint32_t control, std::u16string_view text) override;
  std::u16string GetText(port::WindowHandle dialog, std::uint32_t control) override;
  void SetChecked(port::WindowHandle dialog, std::uint32_t control, bool checked) override;
  bool IsChecked(port::WindowHandle dialog, std::uint32_t control) override;
  void ShowControl(port::WindowHandle dialog, std::uint32_t control, bool visible) override;
  void SetChoices(port::WindowHandle dialog, std::uint32_t control,
                  const std::vector<std::u16string>& items) override;
  void SetChoice(port::WindowHandle dialog, std::uint32_t control, int index) override;
  int Choice(port::WindowHandle dialog, std::uint32_t control) override;
  void SelectText(port::WindowHandle dialog, std::uint32_t control) override;
  void SetProgressRange(port::WindowHandle dialog, std::uint32_t control, int upper) override;
  void SetProgressPosition(port::WindowHandle dialog, std::uint32_t control, int position) override;

 private:
  // In the order in which writes to one control take effect.
  enum class Property { kText, kChecked, kVisible, kRange, kPosition };
  using Key = std::tuple<port::WindowHandle, std::uint32_t, Property>;
  using Value = std::variant<std::u16string, int>;

  // Runs on the display thread when the control is such a widget.
  template <class Widget>
  void WithControl(port::WindowHandle dialog, std::uint32_t control,
                   const std::function<void(Widget& widget)>& action);
  void Write(const Key& key, Value value);
  void ScheduleFlush();
  void Flush();  // display thread
  void Apply(const Key& key, const Value& value);
  QWidget* Control(port::WindowHandle dialog, std::uint32_t control) const;

  Display& display_;

  // Writes not shown yet, the last of each property only.
  std::mutex mutex_;
  std::map<Key, Value> pending_;
  bool flush_scheduled_ = false;

  // Display thread.
  std::chrono::steady_clock::time_point last_flush_{};
  QTimer flush_timer_;
};

}  // namespace quillet::qt
