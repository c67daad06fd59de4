// SPDX-License-Identifier: GPL-3.0-or-later
// What the fields of a head say about the body below it. Pure; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillet {

// The value of the first field of that name, unfolded; nothing when there is none. Names are
// compared without regard to case. At most 10,240 bytes of it.
std::optional<std::string> FieldValue(std::string_view head, std::string_view name);

// A head and the body below it: the first empty line is between them, or, where that is missing,
// the first line that is of no field begins the body.
struct HeadAndBody {
  std::string_view head, body;
};
HeadAndBody SplitHead(std::string_view entity);

enum class Transfer { kNone, kQuotedPrintable, kBase64, kUuencode };

struct PartHead {
  std::string type;     // "text/plain", in small letters
  std::string charset;  // empty: not said
  std::string boundary;
  Transfer transfer = Transfer::kNone;
  bool has_fields = false;  // a field of MIME about the content is there
  bool flowed = false, del_space = false;
  bool attached = false;  // to be listed only
  std::u16string name;    // of a file, as it came; may be empty
};

// `fallback` is the type where none is said or none can be made out.
PartHead ReadPartHead(std::string_view head, std::string_view fallback);

}  // namespace quillet
