#pragma once
#include <string>

namespace zp::platform {

// Converts a wide-character path (UTF-32 here, UTF-16 on Windows) to UTF-8. Invalid code
// points become U+FFFD. A null pointer gives an empty string.
std::string WideToUtf8(const wchar_t* wide);

}  // namespace zp::platform
