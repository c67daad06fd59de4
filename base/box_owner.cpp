#include "base/box_owner.h"

#include <mutex>

#include "base/messages.h"

namespace quillet {
namespace {

std::mutex gMutex;
// Guarded by gMutex, and so are the links below it. Needs no reset: each owner takes itself away.
BoxOwner* gTop = nullptr;

}  // namespace

BoxOwner::BoxOwner(port::WindowHandle window) : window_(window) {
  const std::lock_guard lock(gMutex);
  below_ = gTop;
  gTop = this;
}

BoxOwner::~BoxOwner() {
  const std::lock_guard lock(gMutex);
  BoxOwner** link = &gTop;
  while (*link != this) link = &(*link)->below_;
  *link = below_;
}

port::WindowHandle CurrentBoxOwner() {
  const port::WindowHandle main_window = gMainWindow;
  if (main_window == 0) return 0;
  const std::lock_guard lock(gMutex);
  return gTop != nullptr ? gTop->window_ : main_window;
}

}  // namespace quillet
