#pragma once

namespace zp {

// Load-time work, in order: colour tables, the log, the module path, the fixed-decoder key.
void LibraryAttach();
// Unload: removes the temporary files still registered and closes the log if it was made;
// nothing else is released.
void LibraryDetach();

}  // namespace zp
