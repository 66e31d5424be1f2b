#pragma once
// The reference colour conversion and the picture measure of the tests that look at pixels.
#include <cmath>
#include <cstdint>
#include <vector>

#include "AvReference.h"

namespace zp::test {

// Top-down packed RGB of a picture: BT.601 limited range to full range in floating point, rounded.
inline std::vector<uint8_t> ReferenceRgb(const Picture& p) {
  std::vector<uint8_t> rgb;
  rgb.reserve(static_cast<size_t>(p.width) * p.height * 3);
  const int uvStride = (p.width + 1) / 2;
  for (int r = 0; r < p.height; ++r) {
    for (int c = 0; c < p.width; ++c) {
      const double l = 1.164383 * (p.y[r * p.width + c] - 16);
      const double d = p.u[(r / 2) * uvStride + c / 2] - 128.0, e = p.v[(r / 2) * uvStride + c / 2] - 128.0;
      for (const double x : {l + 1.596027 * e, l - 0.391762 * d - 0.812968 * e, l + 2.017232 * d}) {
        rgb.push_back(static_cast<uint8_t>(x < 0 ? 0 : (x > 255 ? 255 : std::lround(x))));
      }
    }
  }
  return rgb;
}

// PSNR of two images, 0 when their sizes differ or they are empty (a failed screenshot).
inline double Psnr(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
  return a.size() != b.size() || a.empty() ? 0.0 : PsnrDb(a.data(), b.data(), a.size());
}

}  // namespace zp::test
