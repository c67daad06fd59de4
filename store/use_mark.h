// The mark in the database folder that tells a killed writer from a proper end: a small file that
// exists from the first write after opening until the databases are closed. Only for store/.
//
// A writer killed at a bad moment can leave a file that looks sound and yet hands out space that is
// in use, which destroys other records later. Only a recovery repairs that, and only this mark
// tells that it is needed.
#pragma once

namespace quillet {

// True when the last writer in the folder did not get to its end.
bool UseMarkFound();
// Sets the mark, tried once; afterwards it costs nothing.
void SetUseMark();
// The files were closed properly: takes away the mark that SetUseMark set, and no other.
void ReleaseUseMark();
// The files were recovered: takes away whatever mark was found.
void ClearUseMark();

}  // namespace quillet
