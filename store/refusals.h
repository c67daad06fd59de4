// SPDX-License-Identifier: GPL-3.0-or-later
// What the server answered when it refused a queued post, kept beside the settings: the post's own
// record has only a flag for it. Program thread only.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillet {

// A subkey for each refused post, named by SafeName of its key.
inline constexpr std::u16string_view kRefusalsPath =
    u"Software\\Brindle\\Quillet\\Extensions\\Refusals";
// Characters that are kept of a reply.
inline constexpr std::size_t kLongestRefusal = 1000;

// The server's reply in place of an earlier one, without its line end. One that cannot be written
// is lost, and nothing else.
void KeepRefusal(std::string_view post_key, std::u16string_view reply);
// Empty when there is none.
std::u16string RefusalOfPost(std::string_view post_key);
// With the post, or when it is stored again. Idempotent.
void ForgetRefusal(std::string_view post_key);
// False when no post has one, or none can be read.
bool AnyRefusals();
// With the whole queue.
void ForgetAllRefusals();

}  // namespace quillet
