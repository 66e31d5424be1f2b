#include "audio/G711.h"

#include <array>

namespace zp::g711 {
namespace {

constexpr int16_t ExpandAlaw(uint8_t code) {
  const int ix = (code ^ 0x55) & 0x7F;
  const int exponent = ix >> 4;
  int mantissa = ix & 0x0F;
  if (exponent > 0) {
    mantissa += 16;  // the leading one of a normalised segment
  }
  mantissa = (mantissa << 4) + 8;  // left-justified, half a quantisation step added
  if (exponent > 1) {
    mantissa <<= exponent - 1;
  }
  return static_cast<int16_t>(code > 127 ? mantissa : -mantissa);
}

constexpr int16_t ExpandUlaw(uint8_t code) {
  const int sign = code < 0x80 ? -1 : 1;
  const int inverted = ~code;
  const int exponent = (inverted >> 4) & 0x07;
  const int mantissa = inverted & 0x0F;
  const int step = 4 << (exponent + 1);
  return static_cast<int16_t>(sign * ((0x80 << exponent) + step * mantissa + step / 2 - 4 * 33));
}

template <int16_t (*Expand)(uint8_t)>
constexpr std::array<int16_t, 256> MakeTable() {
  std::array<int16_t, 256> table{};
  for (int i = 0; i < 256; ++i) {
    table[i] = Expand(static_cast<uint8_t>(i));
  }
  return table;
}

constexpr std::array<int16_t, 256> kAlaw = MakeTable<ExpandAlaw>();
constexpr std::array<int16_t, 256> kUlaw = MakeTable<ExpandUlaw>();

constexpr uint8_t CompressAlaw(int16_t sample) {
  // One's complement for negative values keeps the magnitude below 2048 after the shift.
  int ix = sample < 0 ? (~sample) >> 4 : sample >> 4;
  if (ix > 15) {
    int exponent = 1;
    while (ix > 16 + 15) {
      ix >>= 1;
      ++exponent;
    }
    ix -= 16;
    ix += exponent << 4;
  }
  if (sample >= 0) {
    ix |= 0x80;
  }
  return static_cast<uint8_t>(ix ^ 0x55);
}

constexpr uint8_t CompressUlaw(int16_t sample) {
  int absno = (sample < 0 ? (~sample) >> 2 : sample >> 2) + 33;
  if (absno > 0x1FFF) {
    absno = 0x1FFF;
  }
  int segment = 1;
  for (int i = absno >> 6; i != 0; i >>= 1) {
    ++segment;
  }
  const int high = 8 - segment;
  const int low = 0x0F - ((absno >> segment) & 0x0F);
  int code = (high << 4) | low;
  if (sample >= 0) {
    code |= 0x80;
  }
  return static_cast<uint8_t>(code);
}

// A code depends only on the sample's top 12 (A-law) or 14 (mu-law) bits: ~s >> k equals
// ~(s >> k), so negative samples fall into the same cells. One table lookup per sample.
constexpr std::array<uint8_t, 4096> kAlawCodes = [] {
  std::array<uint8_t, 4096> table{};
  for (int i = 0; i < 4096; ++i) {
    table[i] = CompressAlaw(static_cast<int16_t>((i - 2048) * 16));
  }
  return table;
}();
constexpr std::array<uint8_t, 16384> kUlawCodes = [] {
  std::array<uint8_t, 16384> table{};
  for (int i = 0; i < 16384; ++i) {
    table[i] = CompressUlaw(static_cast<int16_t>((i - 8192) * 4));
  }
  return table;
}();

}  // namespace

int16_t AlawToLinear(uint8_t code) { return kAlaw[code]; }
int16_t UlawToLinear(uint8_t code) { return kUlaw[code]; }

uint8_t LinearToAlaw(int16_t sample) { return kAlawCodes[(sample >> 4) + 2048]; }
uint8_t LinearToUlaw(int16_t sample) { return kUlawCodes[(sample >> 2) + 8192]; }

void DecodeAlaw(const uint8_t* in, int16_t* out, int n) {
  for (int i = 0; i < n; ++i) {
    out[i] = kAlaw[in[i]];
  }
}

void DecodeUlaw(const uint8_t* in, int16_t* out, int n) {
  for (int i = 0; i < n; ++i) {
    out[i] = kUlaw[in[i]];
  }
}

void EncodeAlaw(const int16_t* in, uint8_t* out, int n) {
  for (int i = 0; i < n; ++i) {
    out[i] = LinearToAlaw(in[i]);
  }
}

void EncodeUlaw(const int16_t* in, uint8_t* out, int n) {
  for (int i = 0; i < n; ++i) {
    out[i] = LinearToUlaw(in[i]);
  }
}

}  // namespace zp::g711
