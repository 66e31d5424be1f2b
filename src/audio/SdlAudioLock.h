#pragma once
#include "common/CMutexLock.h"

namespace zp {

// SDL's audio subsystem is counted but not guarded: every wave-out and wave-in of the process
// initialises it and opens and closes its devices under this lock.
CMutexLock& SdlAudioLock();

}  // namespace zp
