#include "common/ColorTables.h"

namespace zp {

namespace {

ColorTables Build() {
  ColorTables t{};
  for (int i = 0; i < 256; ++i) {
    t.luma[i] = (i - 16) * 9535;
    t.vToRed[i] = (i - 128) * 13074;
    t.vToGreen[i] = (i - 128) * 6660;
    t.uToGreen[i] = (i - 128) * 3203;
    t.uToBlue[i] = (i - 128) * 16531;
  }
  return t;
}

}  // namespace

const ColorTables& GetColorTables() {
  static const ColorTables tables = Build();
  return tables;
}

}  // namespace zp
