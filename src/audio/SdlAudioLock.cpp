#include "audio/SdlAudioLock.h"

namespace zp {

CMutexLock& SdlAudioLock() {
  static CMutexLock lock;
  return lock;
}

}  // namespace zp
