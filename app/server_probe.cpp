// SPDX-License-Identifier: GPL-3.0-or-later
// Name lookup and connecting have no limit of their own: a watch ends them as a Cancel would.
#include "app/server_probe.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "mime/shown_text.h"
#include "nntp/reach.h"
#include "port/platform.h"
#include "port/sockets.h"

namespace quillet {
namespace {

constexpr port::SocketVersion kSocketVersion{1, 1};

// Interrupts the sockets unless it has gone before the time is over.
class Watch {
 public:
  explicit Watch(std::uint32_t milliseconds) {
    try {
      thread_ = std::thread([this, milliseconds] { Run(milliseconds); });
    } catch (const std::system_error&) {  // the wait ends by itself then
    }
  }
  ~Watch() {
    {
      const std::lock_guard lock(mutex_);
      over_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable()) thread_.join();
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

 private:
  void Run(std::uint32_t milliseconds) {
    std::unique_lock lock(mutex_);
    const auto over = [this] { return over_; };
    if (changed_.wait_for(lock, std::chrono::milliseconds(milliseconds), over)) return;
    gPlatform->sockets.Interrupt(port::InterruptReason::kCancel);
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  bool over_ = false;
  std::thread thread_;  // last: it uses the others
};

bool Connects(const std::string& host, std::uint16_t port, std::uint32_t milliseconds) {
  port::Sockets& sockets = gPlatform->sockets;
  const port::SocketHandle socket = sockets.Open();
  if (socket == 0) return false;
  bool connected = false;
  {
    // After Open, which takes an earlier interrupt back.
    const Watch watch(milliseconds);
    const std::vector<port::Address> addresses = FindAddresses(host);
    connected = !addresses.empty() && sockets.Connect(socket, addresses, port);
  }
  sockets.Close(socket);
  return connected;
}

}  // namespace

bool AnswersOnPort(std::u16string_view host, std::uint16_t port, std::uint32_t milliseconds) {
  port::Sockets& sockets = gPlatform->sockets;
  const std::optional<port::SocketVersion> granted = sockets.Startup(kSocketVersion);
  if (!granted) return false;
  const bool connects = Connects(ToStored(host), port, milliseconds);
  sockets.Cleanup();
  return connects;
}

}  // namespace quillet
