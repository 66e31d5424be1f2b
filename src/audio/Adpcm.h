#pragma once
#include <cstdint>

// IMA/DVI ADPCM: 4-bit codes against an adaptive step. DVI4 (RFC 3551) expands a code in the
// bitwise form of the IMA recommended practice; IMA blocks as WAV files carry them expand in
// the product form (2 * code + 1) * step / 8, which rounds differently. Each form reproduces the
// decoders of its own family exactly.
namespace zp::adpcm {

enum class Expansion { Bitwise, Product };

struct State {
  int32_t predictor = 0;  // -32768..32767
  int32_t index = 0;      // 0..88
};

int16_t DecodeNibble(State* state, int nibble, Expansion expansion);
int EncodeSample(State* state, int16_t sample, Expansion expansion);
// Clamps a step index read from a header into the table.
int32_t ClampIndex(int32_t index);

// The 4-byte block header: int16 little-endian sample, u8 step index, u8 reserved.
void ReadHeader(const uint8_t* in, State* state);
void WriteHeader(const State& state, uint8_t* out);

// DVI4 codes, the first sample in the high nibble: n samples from n / 2 bytes.
void DecodeDvi4(State* state, const uint8_t* codes, int n, int16_t* out);
void EncodeDvi4(State* state, const int16_t* in, int n, uint8_t* codes);
// IMA codes, the first sample in the low nibble.
void DecodeIma(State* state, const uint8_t* codes, int n, int16_t* out);
void EncodeIma(State* state, const int16_t* in, int n, uint8_t* codes);

}  // namespace zp::adpcm
