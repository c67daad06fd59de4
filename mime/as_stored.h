// Which articles are shown byte by byte, seen without decoding them. Any thread; pure.
#pragma once

#include "mime/body.h"

namespace quillet {

// True: DecodeBody's text is the stored one but for the line ends, all of it is ASCII, and it has
// no attachments. False tells nothing.
bool IsShownAsStored(const BodySource& source);

}  // namespace quillet
