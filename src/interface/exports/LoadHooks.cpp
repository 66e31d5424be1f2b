// The library's load and unload hooks (DllMain's attach and detach on Windows).
#include "common/LibraryFrame.h"

namespace {

__attribute__((constructor)) void OnLoad() { zp::LibraryAttach(); }

__attribute__((destructor)) void OnUnload() { zp::LibraryDetach(); }

}  // namespace
