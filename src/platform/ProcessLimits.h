#pragma once

namespace zp::platform {

// Raises the soft limit of open files (and so of stdio streams) to at least count, within the
// hard limit. Returns true when the limit is at least count afterwards.
bool RaiseOpenFileLimit(unsigned count);

}  // namespace zp::platform
