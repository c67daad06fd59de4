// SPDX-License-Identifier: GPL-3.0-or-later
// What a later instance asks of the one that owns the profile, as lines of the instance socket.
// Pure; any thread.
//
//   raise                   come forward
//   raise TOKEN             the same with the desktop's token for the later start
//   raise+download          the same, and start a download
//   link N TOKEN LINK       the same, and open the link; N: bytes of the token, which may be empty
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillet::port {

struct InstanceRequest {
  bool download = false;
  std::string token = {};    // without control characters; empty: none
  std::u16string link = {};  // the same; empty: none
  bool operator==(const InstanceRequest&) const = default;
};

// The lines to try, one after the other until one is answered: an owner of an earlier version hangs
// up on what it does not know. The first says all.
std::vector<std::string> LinesOf(const InstanceRequest& request);

// Nothing for what no instance sends.
std::optional<InstanceRequest> ParseInstanceRequest(std::string_view line);

}  // namespace quillet::port
