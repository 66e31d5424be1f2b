#pragma once
#include <ctime>

namespace zp::platform {

// Broken-down local time of a calendar time; thread-safe.
std::tm LocalTime(std::time_t t);

// Broken-down local time of now.
std::tm LocalTimeNow();

}  // namespace zp::platform
