// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/failure.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace quillet::port {
namespace {

FailureHandler& Handler() {
  static FailureHandler handler = [](const std::string& message) {
    std::fprintf(stderr, "%s\n", message.c_str());
    std::abort();
  };
  return handler;
}

}  // namespace

void SetDefaultFailureHandler(FailureHandler handler) {
  Handler() = std::move(handler);
}

const FailureHandler& DefaultFailureHandler() {
  return Handler();
}

}  // namespace quillet::port
