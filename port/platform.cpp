// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/platform.h"

namespace quillet {

port::Platform* gPlatform = nullptr;

}  // namespace quillet
