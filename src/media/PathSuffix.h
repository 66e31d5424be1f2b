#pragma once
#include <cstring>

namespace zp {

// True when `path` is longer than `minLength` characters and ends in `suffix` (ASCII, any
// case). Paths are UTF-8 here, so a wide path converted to UTF-8 compares the same way.
inline bool EndsWithNoCase(const char* path, const char* suffix, size_t minLength) {
  const size_t length = std::strlen(path);
  const size_t n = std::strlen(suffix);
  if (length < n || length < minLength) {
    return false;
  }
  const char* tail = path + length - n;
  for (size_t i = 0; i < n; ++i) {
    char c = tail[i];
    if (c >= 'A' && c <= 'Z') {
      c = static_cast<char>(c - 'A' + 'a');
    }
    if (c != suffix[i]) {
      return false;
    }
  }
  return true;
}

}  // namespace zp
