// SPDX-License-Identifier: GPL-3.0-or-later
// Room for new records. The library does not survive a full disk well: a file that cannot grow in
// the middle of a store may lose other records. So a store that would make a file grow is refused
// while there is still room for what the library adds to it. Only for store/.
#pragma once

#include <cstddef>

namespace quillet {

// True when the volume has room for a record of that many bytes, key and value. The volume is asked
// now and then, not for every record.
bool RoomForRecord(std::size_t bytes);
// Other files were opened, on another volume perhaps.
void ForgetRoom();

}  // namespace quillet
