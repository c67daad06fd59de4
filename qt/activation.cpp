// SPDX-License-Identifier: GPL-3.0-or-later
// The toolkit knows how to use a token of Wayland. On X a token ends with the time of the user's
// act, "_TIME" and milliseconds of the server, which the toolkit has no call for: it asks with the
// time of the last event that this window got, and a user who is busy elsewhere has later ones.
#include "qt/activation.h"

#include <QGuiApplication>
#include <QWindow>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>

#include <xcb/xcb.h>

namespace quillet::qt {
namespace {

constexpr std::string_view kTime = "_TIME";
constexpr std::string_view kActiveWindow = "_NET_ACTIVE_WINDOW";
// Who asks: a program, whose wish a desktop that guards the focus may refuse, or the user.
constexpr std::uint32_t kFromApplication = 1;
constexpr std::uint32_t kFromUser = 2;

std::optional<xcb_timestamp_t> TimeOf(std::string_view token) {
  const std::size_t place = token.rfind(kTime);
  if (place == std::string_view::npos) return std::nullopt;
  const std::string_view digits = token.substr(place + kTime.size());
  xcb_timestamp_t time = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), time);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return time;
}

struct FreeReply {
  void operator()(void* reply) const { std::free(reply); }
};

xcb_atom_t AtomOf(xcb_connection_t* connection, std::string_view name) {
  const auto asked =
      xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
  const std::unique_ptr<xcb_intern_atom_reply_t, FreeReply> reply(
      xcb_intern_atom_reply(connection, asked, nullptr));
  if (!reply) return XCB_ATOM_NONE;
  return reply->atom;
}

void AskWindowManager(xcb_connection_t* connection, WId window, std::uint32_t from,
                      xcb_timestamp_t time) {
  xcb_client_message_event_t message{};
  message.response_type = XCB_CLIENT_MESSAGE;
  message.format = 32;
  message.window = static_cast<xcb_window_t>(window);
  message.type = AtomOf(connection, kActiveWindow);
  message.data.data32[0] = from;
  message.data.data32[1] = time;
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  const std::uint32_t mask =
      XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
  xcb_send_event(connection, 0, root, mask, reinterpret_cast<const char*>(&message));
  xcb_flush(connection);
}

}  // namespace

void ComeForward(QWidget& window, const std::string& token) {
  if (window.isMinimized()) window.showNormal();
  window.raise();
  auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
  const std::optional<xcb_timestamp_t> time = TimeOf(token);
  if (x11 != nullptr && time) {
    return AskWindowManager(x11->connection(), window.winId(), kFromApplication, *time);
  }
  // Where the toolkit looks for it, and takes it away.
  const bool wayland = QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
  if (wayland && !token.empty()) qputenv("XDG_ACTIVATION_TOKEN", QByteArray::fromStdString(token));
  window.activateWindow();
}

void ComeForwardForUser(QWidget& window) {
  auto* x11 = qApp->nativeInterface<QNativeInterface::QX11Application>();
  window.raise();
  if (x11 == nullptr) return window.activateWindow();
  AskWindowManager(x11->connection(), window.winId(), kFromUser, XCB_CURRENT_TIME);
}

}  // namespace quillet::qt
