// What the program does beyond its given behaviour, each to be switched off by a value of its own
// below Software\Brindle\Quillet\Extensions. Program thread only.
#pragma once

#include <string_view>

namespace quillet {

inline constexpr std::u16string_view kExtensionsPath = u"Software\\Brindle\\Quillet\\Extensions";

struct Extensions {
  // Queued posts are sent with a Message-ID of their own, so that a second attempt is known for
  // one.
  bool postmessageids = true;
};

// As they are stored; what is missing or of another type has its default.
Extensions ReadExtensions();

}  // namespace quillet
