#include "media/CDecoderConfig.h"

#include "media/CRbspReader.h"

namespace zp {

namespace {

constexpr int kAvcSps = 7;
constexpr int kAvcPps = 8;
constexpr int kHevcVps = 32;
constexpr int kHevcSps = 33;
constexpr int kHevcPps = 34;
constexpr uint32_t kMaxUnitSize = 0xFFFF;  // the record's lengths are 16 bits
constexpr uint8_t kLengthSizeMinus1 = CNalUnits::kLengthSize - 1;
constexpr size_t kHevcFixedBytes = 23;

// H.264 profiles whose sequence parameter set names the chroma format and bit depths.
bool AvcHasChromaInfo(uint32_t profile) {
  static constexpr uint32_t kProfiles[] = {100, 110, 122, 244, 44, 83, 86, 118, 128, 138, 139, 134, 135};
  for (uint32_t p : kProfiles) {
    if (p == profile) {
      return true;
    }
  }
  return false;
}

// H.264 profiles whose avcC record ends in the chroma format and bit depths.
bool AvcRecordHasChromaInfo(uint32_t profile) { return profile != 66 && profile != 77 && profile != 88; }

}  // namespace

bool CDecoderConfig::Make(bool hevc, const CNalUnits& units, size_t count) {
  m_Record.clear();
  const bool made = hevc ? MakeHevc(units, count) : MakeAvc(units, count);
  if (!made) {
    m_Record.clear();
  }
  return made;
}

bool CDecoderConfig::MakeAvc(const CNalUnits& units, size_t count) {
  SequenceInfo info;
  const size_t sps = units.FindType(count, false, kAvcSps);
  if (sps == count || !ReadAvcSequence(units.Unit(sps), units.UnitSize(sps), &info)) {
    return false;
  }
  m_Record = {1, info.head[0], info.head[1], info.head[2], 0xFC | kLengthSizeMinus1, 0};
  const uint32_t spsCount = AppendUnits(units, count, false, kAvcSps, 31);
  m_Record[5] = static_cast<uint8_t>(0xE0 | spsCount);
  const size_t ppsAt = m_Record.size();
  m_Record.push_back(0);
  const uint32_t ppsCount = AppendUnits(units, count, false, kAvcPps, 255);
  m_Record[ppsAt] = static_cast<uint8_t>(ppsCount);
  if (AvcRecordHasChromaInfo(info.head[0])) {
    m_Record.push_back(static_cast<uint8_t>(0xFC | info.chromaFormat));
    m_Record.push_back(static_cast<uint8_t>(0xF8 | info.lumaDepthMinus8));
    m_Record.push_back(static_cast<uint8_t>(0xF8 | info.chromaDepthMinus8));
    m_Record.push_back(0);  // no sequence parameter set extensions
  }
  return spsCount > 0 && ppsCount > 0;
}

bool CDecoderConfig::ReadAvcSequence(const uint8_t* nal, uint32_t size, SequenceInfo* info) {
  CRbspReader r(nal, size);
  r.Skip(8);  // the unit's header
  for (int i = 0; i < 3; ++i) {
    info->head[i] = static_cast<uint8_t>(r.Bits(8));
  }
  r.Golomb();  // its id
  if (AvcHasChromaInfo(info->head[0])) {
    info->chromaFormat = r.Golomb();
    if (info->chromaFormat == 3) {
      r.Skip(1);  // separate colour planes
    }
    info->lumaDepthMinus8 = r.Golomb();
    info->chromaDepthMinus8 = r.Golomb();
  }
  return !r.Overrun() && info->chromaFormat <= 3 && info->lumaDepthMinus8 <= 6 && info->chromaDepthMinus8 <= 6;
}

bool CDecoderConfig::MakeHevc(const CNalUnits& units, size_t count) {
  SequenceInfo info;
  const size_t sps = units.FindType(count, true, kHevcSps);
  if (sps == count || !ReadHevcSequence(units.Unit(sps), units.UnitSize(sps), &info)) {
    return false;
  }
  m_Record.assign(kHevcFixedBytes, 0);
  m_Record[0] = 1;
  for (int i = 0; i < 12; ++i) {
    m_Record[1 + i] = info.head[i];
  }
  // No minimum spatial segmentation and an unknown parallelism: both are what a decoder may
  // assume without them.
  m_Record[13] = 0xF0;
  m_Record[15] = 0xFC;
  m_Record[16] = static_cast<uint8_t>(0xFC | info.chromaFormat);
  m_Record[17] = static_cast<uint8_t>(0xF8 | info.lumaDepthMinus8);
  m_Record[18] = static_cast<uint8_t>(0xF8 | info.chromaDepthMinus8);
  // No average or constant frame rate stated.
  m_Record[21] = static_cast<uint8_t>(info.temporalLayers << 3 | (info.temporalNested ? 4 : 0) | kLengthSizeMinus1);
  uint32_t arrays = 0;
  uint32_t setCount[3] = {};
  for (int type = kHevcVps; type <= kHevcPps; ++type) {
    const size_t at = m_Record.size();
    // Not complete: the same sets come again in the samples.
    m_Record.push_back(static_cast<uint8_t>(type));
    Put16(0);
    const uint32_t n = AppendUnits(units, count, true, type, kMaxUnitSize);
    setCount[type - kHevcVps] = n;
    if (n == 0) {
      m_Record.resize(at);
      continue;
    }
    m_Record[at + 1] = static_cast<uint8_t>(n >> 8);
    m_Record[at + 2] = static_cast<uint8_t>(n);
    ++arrays;
  }
  m_Record[22] = static_cast<uint8_t>(arrays);
  return setCount[1] > 0 && setCount[2] > 0;
}

bool CDecoderConfig::ReadHevcSequence(const uint8_t* nal, uint32_t size, SequenceInfo* info) {
  CRbspReader r(nal, size);
  r.Skip(16 + 4);  // the unit's header, the video parameter set's id
  const uint32_t subLayers = r.Bits(3);
  info->temporalNested = r.Bits(1) != 0;
  for (int i = 0; i < 12; ++i) {
    info->head[i] = static_cast<uint8_t>(r.Bits(8));
  }
  bool profile[8] = {};
  bool level[8] = {};
  for (uint32_t i = 0; i < subLayers; ++i) {
    profile[i] = r.Bits(1) != 0;
    level[i] = r.Bits(1) != 0;
  }
  if (subLayers > 0) {
    r.Skip(2 * static_cast<int>(8 - subLayers));
  }
  for (uint32_t i = 0; i < subLayers; ++i) {
    r.Skip((profile[i] ? 88 : 0) + (level[i] ? 8 : 0));
  }
  r.Golomb();  // its id
  info->chromaFormat = r.Golomb();
  if (info->chromaFormat == 3) {
    r.Skip(1);  // separate colour planes
  }
  r.Golomb();  // width
  r.Golomb();  // height
  if (r.Bits(1) != 0) {
    for (int i = 0; i < 4; ++i) {
      r.Golomb();  // conformance window offsets
    }
  }
  info->lumaDepthMinus8 = r.Golomb();
  info->chromaDepthMinus8 = r.Golomb();
  info->temporalLayers = subLayers + 1;
  return !r.Overrun() && subLayers < 7 && info->chromaFormat <= 3 && info->lumaDepthMinus8 <= 8 &&
         info->chromaDepthMinus8 <= 8;
}

uint32_t CDecoderConfig::AppendUnits(const CNalUnits& units, size_t count, bool hevc, int type, uint32_t most) {
  uint32_t n = 0;
  for (size_t i = 0; i < count && n < most; ++i) {
    const uint32_t size = units.UnitSize(i);
    if (units.Type(i, hevc) != type || size > kMaxUnitSize) {
      continue;
    }
    Put16(size);
    m_Record.insert(m_Record.end(), units.Unit(i), units.Unit(i) + size);
    ++n;
  }
  return n;
}

void CDecoderConfig::Put16(uint32_t value) {
  m_Record.push_back(static_cast<uint8_t>(value >> 8));
  m_Record.push_back(static_cast<uint8_t>(value));
}

}  // namespace zp
