#pragma once
#include <string>

namespace zp::platform {

// Converts a wide-character path (UTF-32 here, UTF-16 on Windows) to UTF-8. Invalid code
// points become U+FFFD. A null pointer gives an empty string.
std::string WideToUtf8(const wchar_t* wide);
// The reverse: UTF-8 to wide characters; a malformed sequence becomes U+FFFD.
std::wstring Utf8ToWide(const std::string& utf8);

}  // namespace zp::platform
