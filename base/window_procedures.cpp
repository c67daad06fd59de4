// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/window_procedures.h"

#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "base/reset.h"

namespace quillet {
namespace {

std::mutex gMutex;
// Shared, so that a procedure that removes itself lives until it returns.
std::map<port::WindowHandle, std::shared_ptr<const WindowProcedure>> gProcedures;

const ResetAtEnd kReset([] {
  const std::lock_guard lock(gMutex);
  gProcedures.clear();
});

std::shared_ptr<const WindowProcedure> ProcedureOf(port::WindowHandle window) {
  const std::lock_guard lock(gMutex);
  const auto found = gProcedures.find(window);
  return found == gProcedures.end() ? nullptr : found->second;
}

}  // namespace

void SetProcedure(port::WindowHandle window, WindowProcedure procedure) {
  auto shared = std::make_shared<const WindowProcedure>(std::move(procedure));
  const std::lock_guard lock(gMutex);
  gProcedures[window].swap(shared);
}

void RemoveProcedure(port::WindowHandle window) {
  const std::lock_guard lock(gMutex);
  gProcedures.erase(window);
}

bool Dispatch(const port::Message& message) {
  const std::shared_ptr<const WindowProcedure> procedure = ProcedureOf(message.window);
  if (!procedure) return false;
  (*procedure)(message);
  return true;
}

}  // namespace quillet
