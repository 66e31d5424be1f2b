#include "platform/ProcessLimits.h"

#include <sys/resource.h>

namespace zp::platform {

bool RaiseOpenFileLimit(unsigned count) {
  rlimit lim{};
  if (getrlimit(RLIMIT_NOFILE, &lim) != 0) {
    return false;
  }
  if (lim.rlim_cur != RLIM_INFINITY && lim.rlim_cur >= count) {
    return true;
  }
  if (lim.rlim_cur == RLIM_INFINITY) {
    return true;
  }
  rlim_t want = count;
  if (lim.rlim_max != RLIM_INFINITY && want > lim.rlim_max) {
    want = lim.rlim_max;
  }
  lim.rlim_cur = want;
  return setrlimit(RLIMIT_NOFILE, &lim) == 0 && want >= count;
}

}  // namespace zp::platform
