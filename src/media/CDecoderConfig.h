#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

#include "media/CNalUnits.h"

namespace zp {

// The decoder configuration record of an MP4 sample description, "avcC" for H.264 or "hvcC" for
// HEVC, made from the parameter sets among an access unit's first units; it names NAL unit
// lengths of 4 bytes, as CNalUnits writes them. With it the muxer stores samples as given.
class CDecoderConfig {
 public:
  // Makes the record from units 0 to count - 1 of `units`; false when they lack a sequence or
  // a picture parameter set, or the first sequence parameter set does not read.
  bool Make(bool hevc, const CNalUnits& units, size_t count);
  const std::vector<uint8_t>& Record() const { return m_Record; }

 private:
  // What the record repeats of the first sequence parameter set.
  struct SequenceInfo {
    uint8_t head[12] = {};  // H.264: profile, constraints, level; HEVC: the general profile, tier and level
    uint32_t chromaFormat = 1;  // 4:2:0
    uint32_t lumaDepthMinus8 = 0;
    uint32_t chromaDepthMinus8 = 0;
    uint32_t temporalLayers = 1;  // HEVC only
    bool temporalNested = false;  // HEVC only
  };

  bool MakeAvc(const CNalUnits& units, size_t count);
  bool MakeHevc(const CNalUnits& units, size_t count);
  static bool ReadAvcSequence(const uint8_t* nal, uint32_t size, SequenceInfo* info);
  static bool ReadHevcSequence(const uint8_t* nal, uint32_t size, SequenceInfo* info);
  // Appends every unit of the given type as a 16-bit length and its bytes; how many (at most
  // `most`; longer units are left out).
  uint32_t AppendUnits(const CNalUnits& units, size_t count, bool hevc, int type, uint32_t most);
  void Put16(uint32_t value);

  std::vector<uint8_t> m_Record;
};

}  // namespace zp
