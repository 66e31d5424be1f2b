#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zp {

// The NAL units of one H.264 or HEVC access unit in Annex B form (each behind a start code,
// 00 00 01, or 00 00 00 01), copied each behind its length in 4 big-endian bytes: the form an
// MP4 sample holds. Bytes before the first start code belong to no unit, and zero bytes before a
// start code belong to the start code (a unit never ends in a zero byte). The output buffer and
// the list of units are kept from one access unit to the next: they grow to the largest seen.
class CNalUnits {
 public:
  static constexpr uint32_t kLengthSize = 4;

  // Converts an access unit; false when it holds no unit or would not fit 32 bits converted
  // (Size is then 0).
  bool Convert(const uint8_t* data, uint32_t length);

  // The converted access unit.
  const uint8_t* Data() const { return m_Out.data(); }
  uint32_t Size() const { return m_nSize; }

  size_t Count() const { return m_Units.size(); }
  // Unit i of the converted access unit, without its length.
  const uint8_t* Unit(size_t i) const { return m_Out.data() + m_Units[i].nOffset + kLengthSize; }
  uint32_t UnitSize(size_t i) const { return m_Units[i].nSize; }
  // The type of unit i read as H.264 or as HEVC; -1 when its header is not one a base-layer
  // decoder takes (forbidden bit, HEVC layer or temporal id out of place).
  int Type(size_t i, bool hevc) const;
  // The first of the first `count` units whose type is `type`; count when none is.
  size_t FindType(size_t count, bool hevc, int type) const;

  // Where the next start code at or after `from` begins; n when there is none.
  static uint32_t FindStartCode(const uint8_t* p, uint32_t n, uint32_t from);

 private:
  struct Span {
    uint32_t nOffset;  // in the source while finding, in the output after copying
    uint32_t nSize;
  };

  // Fills m_Units with the source's units; the bytes they need once converted.
  uint64_t FindUnits(const uint8_t* data, uint32_t length);
  void CopyUnits(const uint8_t* data);

  std::vector<uint8_t> m_Out;
  uint32_t m_nSize = 0;
  std::vector<Span> m_Units;
};

}  // namespace zp
