#include "platform/LocalTime.h"

namespace zp::platform {

std::tm LocalTime(std::time_t t) {
  std::tm out{};
  localtime_r(&t, &out);
  return out;
}

std::tm LocalTimeNow() { return LocalTime(std::time(nullptr)); }

}  // namespace zp::platform
