// SPDX-License-Identifier: GPL-3.0-or-later
// Makes every failure of the in-memory device a failure of the running test.
#pragma once

#include <gtest/gtest.h>

#include "port/fake/failure.h"

namespace quillet::port {

inline const bool kFailuresGoToGoogleTest = [] {
  SetDefaultFailureHandler([](const std::string& message) { ADD_FAILURE() << message; });
  return true;
}();

}  // namespace quillet::port
