// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/box_owner.h"

#include <mutex>

#include "base/messages.h"
#include "base/reset.h"

namespace quillet {
namespace {

std::mutex gMutex;
BoxOwner* gTop = nullptr;  // guarded by gMutex, and so are the links below it

const ResetAtEnd kReset(ClearBoxOwners);

}  // namespace

BoxOwner::BoxOwner(port::WindowHandle window) : window_(window) {
  const std::lock_guard lock(gMutex);
  below_ = gTop;
  gTop = this;
}

BoxOwner::~BoxOwner() {
  const std::lock_guard lock(gMutex);
  BoxOwner** link = &gTop;
  while (*link != nullptr && *link != this) link = &(*link)->below_;
  if (*link == this) *link = below_;
}

port::WindowHandle CurrentBoxOwner() {
  const std::lock_guard lock(gMutex);
  return gTop != nullptr ? gTop->window_ : gMainWindow.load();
}

void ClearBoxOwners() {
  const std::lock_guard lock(gMutex);
  gTop = nullptr;
}

}  // namespace quillet
