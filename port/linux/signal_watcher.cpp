// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/signal_watcher.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

namespace quillet::port {
namespace {

sigset_t EndSignals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&set, number);
  return set;
}

}  // namespace

SignalWatcher::SignalWatcher(std::function<void()> on_signal) : on_signal_(std::move(on_signal)) {
  const sigset_t set = EndSignals();
  signal(SIGPIPE, SIG_IGN);
  signals_ = FileDescriptor(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
  end_event_ = FileDescriptor(eventfd(0, EFD_CLOEXEC));
  // Without these the signals keep their default effect, which is better than none.
  if (!signals_.valid() || !end_event_.valid()) return;
  pthread_sigmask(SIG_BLOCK, &set, nullptr);
  thread_ = std::thread([this] { Watch(); });
}

SignalWatcher::~SignalWatcher() {
  if (!thread_.joinable()) return;
  eventfd_write(end_event_.get(), 1);
  thread_.join();
}

void SignalWatcher::Watch() {
  std::array<pollfd, 2> waiting{{{signals_.get(), POLLIN, 0}, {end_event_.get(), POLLIN, 0}}};
  for (;;) {
    if (poll(waiting.data(), waiting.size(), -1) < 0 && errno != EINTR) return;
    if (waiting[1].revents != 0) return;
    signalfd_siginfo info{};
    if (read(signals_.get(), &info, sizeof info) == static_cast<ssize_t>(sizeof info)) on_signal_();
  }
}

}  // namespace quillet::port
