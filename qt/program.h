// SPDX-License-Identifier: GPL-3.0-or-later
// The whole program on the toolkit's display and the services of Linux.
#pragma once

#include <QString>

#include "port/linux/linux_platform.h"
#include "qt/device.h"

namespace quillet::qt {

// Names the application to the desktop. Before the application object.
void NameApplication();

// Why no display can be opened; empty when there seems to be one. Before the application object,
// which would end the process.
QString DisplayProblem();

// Runs Quillet until it ends; its exit code. Display thread.
int RunQuilletOn(QtDevice& device, port::LinuxServices& services);

}  // namespace quillet::qt
