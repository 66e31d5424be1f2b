#include "audio/HiVoice.h"

#include <cstring>
#include <new>

#include "audio/Adpcm.h"
#include "audio/CG726Codec.h"
#include "audio/G711.h"

namespace zp {
namespace {

constexpr uint32_t kDecodeMagic = 0x44564948;  // "HIVD"
constexpr uint32_t kEncodeMagic = 0x45564948;  // "HIVE"

// The first 8 bytes of every state area.
struct StateHead {
  uint32_t magic;
  int32_t engineType;
};

struct AdpcmArea {
  StateHead head;
  int32_t predictor;
  int32_t index;
};

struct G726Area {
  StateHead head;
  CG726Codec* codec;
};

static_assert(sizeof(StateHead) == kStateBytesG711);
static_assert(sizeof(AdpcmArea) == kStateBytesAdpcm);
static_assert(sizeof(G726Area) <= kStateBytesG726);

enum class Family { None, G711, Adpcm, G726 };

Family FamilyOf(int32_t type) {
  switch (type) {
    case kVoiceG711A:
    case kVoiceG711U:
      return Family::G711;
    case kVoiceDvi4:
    case kVoiceIma:
      return Family::Adpcm;
    case kVoiceG726Le16:
    case kVoiceG726Le24:
    case kVoiceG726Le32:
    case kVoiceG726Le40:
    case kVoiceG726Asf16:
    case kVoiceG726Asf24:
    case kVoiceG726Asf32:
    case kVoiceG726Asf40:
      return Family::G726;
    default:
      return Family::None;
  }
}

int G726Bits(int32_t type) { return type <= kVoiceG726Le40 ? type - kVoiceG726Le16 + 2 : type - kVoiceG726Asf16 + 2; }
bool G726LsbFirst(int32_t type) { return type <= kVoiceG726Le40; }

StateHead* HeadOf(void* state) { return static_cast<StateHead*>(state); }

int32_t Reset(void* state, int32_t type, uint32_t magic) {
  if (state == nullptr) {
    return -1;
  }
  const Family family = FamilyOf(type);
  if (family == Family::None) {
    return -1;
  }
  StateHead* head = HeadOf(state);
  if (family == Family::G726) {
    auto* area = static_cast<G726Area*>(state);
    const auto direction = magic == kDecodeMagic ? CG726Codec::Direction::Decode : CG726Codec::Direction::Encode;
    const bool reuse = head->magic == magic && head->engineType == type && area->codec != nullptr;
    if (reuse) {
      area->codec->Reset();
      return 0;
    }
    HI_VOICE_Release(state);
    auto* codec = new (std::nothrow) CG726Codec(direction, G726Bits(type), G726LsbFirst(type));
    if (codec == nullptr || !codec->Open()) {
      delete codec;
      return -1;
    }
    area->codec = codec;
  } else {
    HI_VOICE_Release(state);
    if (family == Family::Adpcm) {
      auto* area = static_cast<AdpcmArea*>(state);
      area->predictor = 0;
      area->index = 0;
    }
  }
  head->magic = magic;
  head->engineType = type;
  return 0;
}

void WriteUnitHead(uint8_t* out, int payloadBytes) {
  out[0] = 0x00;
  out[1] = 0x01;
  out[2] = static_cast<uint8_t>(payloadBytes / 2);
  out[3] = 0x00;
}

int32_t DecodeAdpcm(AdpcmArea* area, const uint8_t* payload, int bytes, int16_t* out, uint16_t* samples) {
  if (bytes < 4) {
    return -1;
  }
  adpcm::State adpcmState;
  adpcm::ReadHeader(payload, &adpcmState);
  const int codes = (bytes - 4) * 2;
  const bool ima = area->head.engineType == kVoiceIma;
  const int total = codes + (ima ? 1 : 0);
  if (total > kVoiceMaxSamples) {
    return -1;
  }
  if (ima) {
    // The IMA header sample is the first sample of the block; DVI4's only seeds the predictor.
    out[0] = static_cast<int16_t>(adpcmState.predictor);
    adpcm::DecodeIma(&adpcmState, payload + 4, codes, out + 1);
  } else {
    adpcm::DecodeDvi4(&adpcmState, payload + 4, codes, out);
  }
  area->predictor = adpcmState.predictor;
  area->index = adpcmState.index;
  *samples = static_cast<uint16_t>(total);
  return 0;
}

int32_t EncodeAdpcm(AdpcmArea* area, const int16_t* in, uint8_t* out, int32_t samples) {
  const bool ima = area->head.engineType == kVoiceIma;
  // An IMA count of 4k + 1 puts its first sample in the header, which the decoder outputs first:
  // such a unit decodes to exactly the samples it was made from.
  const bool headerSample = ima && samples % 4 == 1;
  const int codes = headerSample ? samples - 1 : samples;
  const int payload = 4 + codes / 2;
  if (codes % 4 != 0 || payload > kVoiceMaxPayload) {
    return -1;
  }
  adpcm::State adpcmState{headerSample ? in[0] : area->predictor, adpcm::ClampIndex(area->index)};
  const int16_t* coded = headerSample ? in + 1 : in;
  WriteUnitHead(out, payload);
  adpcm::WriteHeader(adpcmState, out + kVoiceUnitHead);
  if (ima) {
    adpcm::EncodeIma(&adpcmState, coded, codes, out + kVoiceUnitHead + 4);
  } else {
    adpcm::EncodeDvi4(&adpcmState, coded, codes, out + kVoiceUnitHead + 4);
  }
  area->predictor = adpcmState.predictor;
  area->index = adpcmState.index;
  return 0;
}

}  // namespace

int VoiceStateBytes(int32_t engineType) {
  switch (FamilyOf(engineType)) {
    case Family::G711:
      return kStateBytesG711;
    case Family::Adpcm:
      return kStateBytesAdpcm;
    case Family::G726:
      return kStateBytesG726;
    default:
      return 0;
  }
}

int32_t HI_VOICE_DecReset(void* state, int32_t engineType) { return Reset(state, engineType, kDecodeMagic); }

int32_t HI_VOICE_EncReset(void* state, int32_t engineType) { return Reset(state, engineType, kEncodeMagic); }

int32_t HI_VOICE_DecodeFrame(void* state, const uint8_t* in, int16_t* out, uint16_t* samples) {
  if (state == nullptr || in == nullptr || out == nullptr || samples == nullptr) {
    return -1;
  }
  *samples = 0;
  StateHead* head = HeadOf(state);
  if (head->magic != kDecodeMagic || in[0] != 0x00 || in[1] != 0x01) {
    return -1;
  }
  const uint8_t* payload = in + kVoiceUnitHead;
  const int bytes = 2 * in[2];
  switch (FamilyOf(head->engineType)) {
    case Family::G711:
      if (bytes > kVoiceMaxSamples) {
        return -1;
      }
      if (head->engineType == kVoiceG711A) {
        g711::DecodeAlaw(payload, out, bytes);
      } else {
        g711::DecodeUlaw(payload, out, bytes);
      }
      *samples = static_cast<uint16_t>(bytes);
      return 0;
    case Family::Adpcm:
      return DecodeAdpcm(static_cast<AdpcmArea*>(state), payload, bytes, out, samples);
    case Family::G726: {
      const int n = static_cast<G726Area*>(state)->codec->Decode(payload, bytes, out, kVoiceMaxSamples);
      if (n < 0) {
        return -1;
      }
      *samples = static_cast<uint16_t>(n);
      return 0;
    }
    default:
      return -1;
  }
}

int32_t HI_VOICE_EncodeFrame(void* state, const int16_t* in, uint8_t* out, int32_t samples) {
  if (state == nullptr || in == nullptr || out == nullptr || samples <= 0 || samples > kVoiceMaxSamples) {
    return -1;
  }
  StateHead* head = HeadOf(state);
  if (head->magic != kEncodeMagic) {
    return -1;
  }
  switch (FamilyOf(head->engineType)) {
    case Family::G711:
      if (samples % 2 != 0 || samples > kVoiceMaxPayload) {
        return -1;
      }
      WriteUnitHead(out, samples);
      if (head->engineType == kVoiceG711A) {
        g711::EncodeAlaw(in, out + kVoiceUnitHead, samples);
      } else {
        g711::EncodeUlaw(in, out + kVoiceUnitHead, samples);
      }
      return 0;
    case Family::Adpcm:
      return EncodeAdpcm(static_cast<AdpcmArea*>(state), in, out, samples);
    case Family::G726: {
      CG726Codec* codec = static_cast<G726Area*>(state)->codec;
      if ((samples * codec->BitsPerCode()) % 16 != 0) {
        return -1;
      }
      const int bytes = codec->Encode(in, samples, out + kVoiceUnitHead, kVoiceMaxPayload);
      if (bytes < 0) {
        return -1;
      }
      WriteUnitHead(out, bytes);
      return 0;
    }
    default:
      return -1;
  }
}

void HI_VOICE_Release(void* state) {
  if (state == nullptr) {
    return;
  }
  StateHead* head = HeadOf(state);
  const bool live = head->magic == kDecodeMagic || head->magic == kEncodeMagic;
  if (live && FamilyOf(head->engineType) == Family::G726) {
    auto* area = static_cast<G726Area*>(state);
    delete area->codec;
    area->codec = nullptr;
  }
  head->magic = 0;
  head->engineType = 0;
}

VoiceStates::~VoiceStates() {
  HI_VOICE_Release(g711);
  HI_VOICE_Release(adpcm);
  HI_VOICE_Release(g726);
}

uint8_t* VoiceStates::For(int32_t engineType) {
  switch (VoiceStateBytes(engineType)) {
    case kStateBytesG711:
      return g711;
    case kStateBytesAdpcm:
      return adpcm;
    default:
      return g726;
  }
}

}  // namespace zp
