#include "killfile/entry_dialog.h"

namespace quillet {

void OpenKillfileEntryDialog(int, std::string_view, std::string_view) {}

}  // namespace quillet
