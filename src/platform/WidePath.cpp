#include "platform/WidePath.h"

#include <cstdint>

namespace zp::platform {

namespace {

void AppendUtf8(std::string& out, uint32_t cp) {
  if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) {
    cp = 0xFFFD;
  }
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

}  // namespace

std::string WideToUtf8(const wchar_t* wide) {
  std::string out;
  if (wide == nullptr) {
    return out;
  }
  for (const wchar_t* p = wide; *p != 0; ++p) {
    uint32_t cp = static_cast<uint32_t>(*p);
    // A UTF-16 surrogate pair (wchar_t is 16 bits on Windows) joins into one code point.
    if (sizeof(wchar_t) == 2 && cp >= 0xD800 && cp <= 0xDBFF && p[1] >= 0xDC00 && p[1] <= 0xDFFF) {
      cp = 0x10000 + ((cp - 0xD800) << 10) + (static_cast<uint32_t>(p[1]) - 0xDC00);
      ++p;
    }
    AppendUtf8(out, cp);
  }
  return out;
}

}  // namespace zp::platform
