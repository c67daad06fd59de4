// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/fake_platform.h"

namespace quillet::port {

FakePlatform::FakePlatform() {
  clock.on_move = [this] { queues.ClockMoved(); };
  display.on_failure = [this](const std::string& message) { on_failure(message); };
  sockets.on_failure = [this](const std::string& message) { on_failure(message); };
  gPlatform = &platform;
}

FakePlatform::~FakePlatform() {
  sockets.Verify();
  display.Verify();
  if (gPlatform == &platform) gPlatform = nullptr;
}

}  // namespace quillet::port
