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

// The code point that starts at text[*at], moving *at past it.
uint32_t NextCodePoint(const std::string& text, size_t* at) {
  const auto lead = static_cast<uint8_t>(text[(*at)++]);
  const int extra = lead < 0x80 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : -1;
  if (extra < 0) {
    return 0xFFFD;
  }
  uint32_t cp = extra == 0 ? lead : lead & (0x3F >> extra);
  for (int i = 0; i < extra; ++i, ++*at) {
    if (*at >= text.size() || (static_cast<uint8_t>(text[*at]) & 0xC0) != 0x80) {
      return 0xFFFD;
    }
    cp = (cp << 6) | (static_cast<uint8_t>(text[*at]) & 0x3F);
  }
  return cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF) ? 0xFFFD : cp;
}

}  // namespace

std::wstring Utf8ToWide(const std::string& utf8) {
  std::wstring out;
  for (size_t at = 0; at < utf8.size();) {
    const uint32_t cp = NextCodePoint(utf8, &at);
    if (sizeof(wchar_t) == 2 && cp >= 0x10000) {
      out += static_cast<wchar_t>(0xD800 + ((cp - 0x10000) >> 10));
      out += static_cast<wchar_t>(0xDC00 + ((cp - 0x10000) & 0x3FF));
    } else {
      out += static_cast<wchar_t>(cp);
    }
  }
  return out;
}

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
