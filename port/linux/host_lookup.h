// SPDX-License-Identifier: GPL-3.0-or-later
// Names of hosts as addresses. The system cannot be told to stop looking, so it looks on a thread
// of its own, which is left behind when nobody waits for it any more.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "port/sockets.h"

namespace quillet::port {

// The error of a lookup that found no address.
constexpr int kErrorHostNotFound = 11001;

// Looks a host name up: 0 and all its addresses in the order to try them, or a system error number
// or the above.
using HostLookup = std::function<int(const std::string& host, std::vector<Address>& addresses)>;

// In the order of the system (RFC 6724), each once, 32 at most. Texts of addresses too, those of
// IPv6 with a zone ("fe80::1%eth0").
int LookUpHost(const std::string& host, std::vector<Address>& addresses);

// The same by `lookup` on its thread; ECANCELED as soon as `interrupt_fd` is readable.
int LookUpUnlessInterrupted(const HostLookup& lookup, const std::string& host, int interrupt_fd,
                            std::vector<Address>& addresses);

}  // namespace quillet::port
