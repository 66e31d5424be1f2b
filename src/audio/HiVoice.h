#pragma once
#include <cstdint>

// The voice engine of the recorders' audio frames, with the engine's own call shapes. A unit is
// "00 01 LL CC" and then 2 * LL payload bytes (CC, a frame counter, is written as 0 and never
// read). The caller owns the state area: kStateBytesG711 for G.711, kStateBytesAdpcm for DVI4
// and IMA, kStateBytesG726 for G.726; it must start zeroed, and a state used by a G.726 type
// must be handed to HI_VOICE_Release before it is dropped (it holds a codec object).
namespace zp {

enum VoiceEngineType : int32_t {
  kVoiceG711A = 1,
  kVoiceG711U = 2,
  kVoiceDvi4 = 3,
  kVoiceG726Le16 = 4,  // RFC 3551 packing, 16 to 40 kbit/s
  kVoiceG726Le24 = 5,
  kVoiceG726Le32 = 6,
  kVoiceG726Le40 = 7,
  kVoiceIma = 35,
  kVoiceG726Asf16 = 36,  // ASF packing, 16 to 40 kbit/s
  kVoiceG726Asf24 = 37,
  kVoiceG726Asf32 = 38,
  kVoiceG726Asf40 = 39,
};

inline constexpr int kStateBytesG711 = 8;
inline constexpr int kStateBytesAdpcm = 16;
inline constexpr int kStateBytesG726 = 128;
// The most samples one unit may decode to or be encoded from.
inline constexpr int kVoiceMaxSamples = 640;
inline constexpr int kVoiceUnitHead = 4;
inline constexpr int kVoiceMaxPayload = 510;

// The state area a type needs, 0 for an unknown type.
int VoiceStateBytes(int32_t engineType);
// The unit length from a unit's head (4 + 2 * its third byte).
inline int VoiceUnitLength(const uint8_t* unit) { return kVoiceUnitHead + 2 * unit[2]; }

// 0 on success; non-zero for an unknown type or a codec that does not open.
int32_t HI_VOICE_DecReset(void* state, int32_t engineType);
int32_t HI_VOICE_EncReset(void* state, int32_t engineType);
// Decodes one whole unit (in must hold the 4 + 2 * in[2] bytes its head announces) into out
// (room for kVoiceMaxSamples samples); *samples receives the sample count. 0 on success.
int32_t HI_VOICE_DecodeFrame(void* state, const uint8_t* in, int16_t* out, uint16_t* samples);
// Encodes `samples` samples into one unit at out (room for 4 + kVoiceMaxPayload bytes). 0 on
// success; non-zero when the count does not make a whole unit of at most kVoiceMaxPayload bytes.
// IMA also takes 4k + 1 samples: the first goes into the unit's header (161 for 160 codes).
int32_t HI_VOICE_EncodeFrame(void* state, const int16_t* in, uint8_t* out, int32_t samples);
// Frees what a state holds and zeroes its head; harmless on a zeroed state.
void HI_VOICE_Release(void* state);

// The three state areas a voice codec object keeps, released together; For() gives the one an
// engine type uses.
struct VoiceStates {
  VoiceStates() = default;
  ~VoiceStates();
  VoiceStates(const VoiceStates&) = delete;
  VoiceStates& operator=(const VoiceStates&) = delete;
  uint8_t* For(int32_t engineType);

  alignas(8) uint8_t g711[kStateBytesG711] = {};
  alignas(8) uint8_t g726[kStateBytesG726] = {};
  alignas(8) uint8_t adpcm[kStateBytesAdpcm] = {};
};

}  // namespace zp
