// SPDX-License-Identifier: GPL-3.0-or-later
// The Message-ID that a queued post is sent with: always the same for the same post, so that the
// server knows a second attempt for one. Program thread only.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quillet {

// What stands in every Message-ID of this profile.
struct PostIdParts {
  std::uint32_t mark = 0;
  std::string host;
};

// The mark is made and stored when there is none yet.
PostIdParts TakePostIdParts();

// The domain of an address, "quillet.invalid" when it has none that can be one: labels of letters,
// digits and inner hyphens, two at least.
std::string HostOfAddress(std::string_view address);

// "Message-ID: <KEY.MARK@HOST>" without a line end; pure.
std::string MessageIdLine(const PostIdParts& parts, std::string_view post_key);

// Whether a line of a header begins with "Message-ID:", in any case; pure.
bool HasMessageId(std::string_view header);

}  // namespace quillet
