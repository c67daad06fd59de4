// SPDX-License-Identifier: GPL-3.0-or-later
#include "post/post_info.h"

#include "base/records.h"

namespace quillet {

std::unique_ptr<PostInfo> NewPostInfo() {
  return NewRecord<PostInfo>(u"NewPostInfo");
}

}  // namespace quillet
