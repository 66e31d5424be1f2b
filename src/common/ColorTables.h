#pragma once
#include <cstdint>

namespace zp {

// YUV to RGB lookup tables for picture conversion: BT.601 limited range, 13-bit fixed point.
struct ColorTables {
  int32_t luma[256];     // (i - 16) * 9535
  int32_t vToRed[256];   // (i - 128) * 13074
  int32_t vToGreen[256]; // (i - 128) * 6660
  int32_t uToGreen[256]; // (i - 128) * 3203
  int32_t uToBlue[256];  // (i - 128) * 16531
};

// Builds the tables once (at library load; later calls return the same tables).
const ColorTables& GetColorTables();

}  // namespace zp
