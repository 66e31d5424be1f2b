// The library's load and unload hooks (DllMain's attach and detach on Windows).
#include "common/LibraryFrame.h"
#include "player/CRecAudioTranscoder.h"

namespace {

__attribute__((constructor)) void OnLoad() {
  zp::LibraryAttach();
  zp::CRecAudioTranscoder::Register();
}

__attribute__((destructor)) void OnUnload() { zp::LibraryDetach(); }

}  // namespace
