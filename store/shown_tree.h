// What deletion needs of the thread view, which stands above the store.
#pragma once

#include "base/run_end.h"

namespace quillet {

// Set by the thread view; a member is null while there is no thread view. Program thread only.
struct ShownTreeHooks {
  // Index of the group whose tree is shown, -1 for none.
  int (*group)() = nullptr;
  // Deletes every read article of the shown tree, as its own delete command does, with progress and
  // abort, and fills the tree control anew. Tells what ended it.
  RunEnd (*delete_read)() = nullptr;
  // Empties the thread view and, when its article belonged to that tree, the article view.
  void (*clear)() = nullptr;
};
extern ShownTreeHooks gShownTree;

}  // namespace quillet
