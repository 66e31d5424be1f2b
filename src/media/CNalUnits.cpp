#include "media/CNalUnits.h"

#include <cstring>

namespace zp {

namespace {

// Sixteen bytes at a time (SSE2 or NEON, whichever the target has): a start code can begin at
// any byte, so looking at every byte once is the least there is, and it keeps up with memory.
using Bytes16 = uint8_t __attribute__((vector_size(16)));
constexpr uint32_t kVector = sizeof(Bytes16);

Bytes16 Load(const uint8_t* p) {
  Bytes16 v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

// The first of the 16 places from p where 00 00 01 begins; kVector when none. Reads 18 bytes.
uint32_t FirstStartCodeOf16(const uint8_t* p) {
  const Bytes16 zero = {};
  const Bytes16 one = zero + 1;
  const auto found = (Load(p) == zero) & (Load(p + 1) == zero) & (Load(p + 2) == one);
  uint64_t halves[2];
  std::memcpy(halves, &found, sizeof halves);
  if (halves[0] != 0) {
    return static_cast<uint32_t>(__builtin_ctzll(halves[0]) / 8);
  }
  return halves[1] != 0 ? 8 + static_cast<uint32_t>(__builtin_ctzll(halves[1]) / 8) : kVector;
}

}  // namespace

uint32_t CNalUnits::FindStartCode(const uint8_t* p, uint32_t n, uint32_t from) {
  uint32_t i = from;
  for (; i + kVector + 2 <= n; i += kVector) {
    const uint32_t at = FirstStartCodeOf16(p + i);
    if (at != kVector) {
      return i + at;
    }
  }
  // The last few bytes one at a time.
  for (; i + 3 <= n; ++i) {
    if (p[i] == 0 && p[i + 1] == 0 && p[i + 2] == 1) {
      return i;
    }
  }
  return n;
}

uint64_t CNalUnits::FindUnits(const uint8_t* data, uint32_t length) {
  m_Units.clear();
  uint64_t bytes = 0;
  uint32_t code = FindStartCode(data, length, 0);
  while (code < length) {
    const uint32_t start = code + 3;
    const uint32_t next = FindStartCode(data, length, start);
    uint32_t end = next;
    while (end > start && data[end - 1] == 0) {
      --end;
    }
    if (end > start) {
      m_Units.push_back(Span{start, end - start});
      bytes += kLengthSize + (end - start);
    }
    code = next;
  }
  return bytes;
}

void CNalUnits::CopyUnits(const uint8_t* data) {
  uint8_t* out = m_Out.data();
  for (Span& unit : m_Units) {
    const uint32_t size = unit.nSize;
    out[0] = static_cast<uint8_t>(size >> 24);
    out[1] = static_cast<uint8_t>(size >> 16);
    out[2] = static_cast<uint8_t>(size >> 8);
    out[3] = static_cast<uint8_t>(size);
    std::memcpy(out + kLengthSize, data + unit.nOffset, size);
    unit.nOffset = static_cast<uint32_t>(out - m_Out.data());
    out += kLengthSize + size;
  }
}

size_t CNalUnits::FindType(size_t count, bool hevc, int type) const {
  size_t i = 0;
  while (i < count && Type(i, hevc) != type) {
    ++i;
  }
  return i;
}

int CNalUnits::Type(size_t i, bool hevc) const {
  const uint8_t* nal = Unit(i);
  if (!hevc) {
    return (nal[0] & 0x80) != 0 ? -1 : nal[0] & 0x1F;
  }
  // Two header bytes: forbidden bit, type, a 6-bit layer id (0) and the temporal id plus 1.
  if (UnitSize(i) < 2 || (nal[0] & 0x81) != 0 || (nal[1] >> 3) != 0 || (nal[1] & 7) == 0) {
    return -1;
  }
  return (nal[0] >> 1) & 0x3F;
}

bool CNalUnits::Convert(const uint8_t* data, uint32_t length) {
  // Each length field takes a byte more than a 3-byte start code: the output can outgrow the
  // source, and 32 bits, with many small units.
  const uint64_t bytes = FindUnits(data, length);
  if (bytes > UINT32_MAX) {
    m_Units.clear();
  }
  m_nSize = m_Units.empty() ? 0 : static_cast<uint32_t>(bytes);
  if (m_Out.size() < m_nSize) {
    m_Out.resize(m_nSize);
  }
  CopyUnits(data);
  return !m_Units.empty();
}

}  // namespace zp
