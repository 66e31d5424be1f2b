// Arbitrary bytes as an access unit through CNalUnits, which must find the same units as a plain
// byte-by-byte search and write each behind its length; then CDecoderConfig over them, whose
// record, when made, must hold its parameter sets intact.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "media/CDecoderConfig.h"
#include "media/CNalUnits.h"

namespace {

void Check(bool ok) {
  if (!ok) {
    std::abort();
  }
}

struct Unit {
  uint32_t offset;
  uint32_t size;
};

// Every 00 00 01 begins a unit that runs to the next one, without the zeros before it.
std::vector<Unit> ReferenceUnits(const uint8_t* p, uint32_t n) {
  std::vector<uint32_t> codes;
  for (uint32_t i = 0; i + 3 <= n; ++i) {
    if (p[i] == 0 && p[i + 1] == 0 && p[i + 2] == 1) {
      codes.push_back(i);
      i += 2;
    }
  }
  std::vector<Unit> units;
  for (size_t k = 0; k < codes.size(); ++k) {
    uint32_t end = k + 1 < codes.size() ? codes[k + 1] : n;
    while (end > codes[k] + 3 && p[end - 1] == 0) {
      --end;
    }
    if (end > codes[k] + 3) {
      units.push_back({codes[k] + 3, end - codes[k] - 3});
    }
  }
  return units;
}

void CheckUnits(const zp::CNalUnits& units, const uint8_t* p, uint32_t n) {
  const std::vector<Unit> want = ReferenceUnits(p, n);
  Check(units.Count() == want.size());
  uint64_t at = 0;
  for (size_t i = 0; i < want.size(); ++i) {
    const uint8_t* length = units.Data() + at;
    Check((uint32_t{length[0]} << 24 | length[1] << 16 | length[2] << 8 | length[3]) == want[i].size);
    Check(units.Unit(i) == length + 4 && units.UnitSize(i) == want[i].size);
    Check(std::memcmp(units.Unit(i), p + want[i].offset, want[i].size) == 0);
    at += 4 + want[i].size;
  }
  Check(at == units.Size());
}

// The record's arrays of 16-bit lengths and units, from `at` to its end.
void CheckArrays(const std::vector<uint8_t>& r, size_t at, size_t arrays, bool hevc) {
  for (size_t a = 0; a < arrays; ++a) {
    Check(at + (hevc ? 3 : 1) <= r.size());
    size_t count = hevc ? (r[at + 1] << 8 | r[at + 2]) : (a == 0 ? r[at] & 0x1F : r[at]);
    at += hevc ? 3 : 1;
    for (; count > 0; --count) {
      Check(at + 2 <= r.size());
      at += 2 + (r[at] << 8 | r[at + 1]);
      Check(at <= r.size());
    }
  }
  // An H.264 record may end in four bytes of chroma format and bit depths.
  Check(at == r.size() || (!hevc && at + 4 == r.size()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) {
    return 0;
  }
  const bool hevc = (data[0] & 1) != 0;
  const uint8_t* p = data + 1;
  const uint32_t n = static_cast<uint32_t>(size - 1);
  static zp::CNalUnits units;  // kept, as the writer keeps it: what one input leaves must not matter
  Check(units.Convert(p, n) == !ReferenceUnits(p, n).empty());
  CheckUnits(units, p, n);
  zp::CDecoderConfig config;
  if (!config.Make(hevc, units, units.Count())) {
    Check(config.Record().empty());
    return 0;
  }
  const std::vector<uint8_t>& r = config.Record();
  Check(r.size() >= (hevc ? 23u : 7u) && r[0] == 1);
  if (hevc) {
    CheckArrays(r, 23, r[22], true);
  } else {
    CheckArrays(r, 5, 2, false);
  }
  return 0;
}
