#include "audio/Adpcm.h"

#include <algorithm>

namespace zp::adpcm {
namespace {

constexpr int kIndexTable[8] = {-1, -1, -1, -1, 2, 4, 6, 8};

constexpr int16_t kStepTable[89] = {
    7,     8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,    28,
    31,    34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,   118,
    130,   143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,   494,
    544,   598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878,  2066,
    2272,  2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845,  8630,
    9493,  10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};

}  // namespace

int32_t ClampIndex(int32_t index) { return std::clamp(index, 0, 88); }

int16_t DecodeNibble(State* state, int nibble, Expansion expansion) {
  const int step = kStepTable[state->index];
  int diff = 0;
  if (expansion == Expansion::Product) {
    diff = ((2 * (nibble & 7) + 1) * step) >> 3;
  } else {
    diff = step >> 3;
    if (nibble & 4) {
      diff += step;
    }
    if (nibble & 2) {
      diff += step >> 1;
    }
    if (nibble & 1) {
      diff += step >> 2;
    }
  }
  const int predictor = (nibble & 8) ? state->predictor - diff : state->predictor + diff;
  state->predictor = std::clamp(predictor, -32768, 32767);
  state->index = ClampIndex(state->index + kIndexTable[nibble & 7]);
  return static_cast<int16_t>(state->predictor);
}

int EncodeSample(State* state, int16_t sample, Expansion expansion) {
  const int step = kStepTable[state->index];
  int delta = sample - state->predictor;
  int nibble = 0;
  if (delta < 0) {
    nibble = 8;
    delta = -delta;
  }
  if (expansion == Expansion::Product) {
    // The product form's levels are evenly spaced: the nearest one below is delta * 4 / step.
    nibble |= std::min(7, delta * 4 / step);
  } else {
    if (delta >= step) {
      nibble |= 4;
      delta -= step;
    }
    if (delta >= (step >> 1)) {
      nibble |= 2;
      delta -= step >> 1;
    }
    if (delta >= (step >> 2)) {
      nibble |= 1;
    }
  }
  // The encoder tracks the decoder's reconstruction, so both stay in step.
  DecodeNibble(state, nibble, expansion);
  return nibble;
}

void ReadHeader(const uint8_t* in, State* state) {
  state->predictor = static_cast<int16_t>(in[0] | (in[1] << 8));
  state->index = ClampIndex(in[2]);
}

void WriteHeader(const State& state, uint8_t* out) {
  const auto predictor = static_cast<uint16_t>(static_cast<int16_t>(state.predictor));
  out[0] = static_cast<uint8_t>(predictor & 0xFF);
  out[1] = static_cast<uint8_t>(predictor >> 8);
  out[2] = static_cast<uint8_t>(state.index);
  out[3] = 0;
}

void DecodeDvi4(State* state, const uint8_t* codes, int n, int16_t* out) {
  for (int i = 0; i + 1 < n; i += 2) {
    const uint8_t byte = codes[i / 2];
    out[i] = DecodeNibble(state, byte >> 4, Expansion::Bitwise);
    out[i + 1] = DecodeNibble(state, byte & 0x0F, Expansion::Bitwise);
  }
}

void EncodeDvi4(State* state, const int16_t* in, int n, uint8_t* codes) {
  for (int i = 0; i + 1 < n; i += 2) {
    const int high = EncodeSample(state, in[i], Expansion::Bitwise);
    const int low = EncodeSample(state, in[i + 1], Expansion::Bitwise);
    codes[i / 2] = static_cast<uint8_t>((high << 4) | low);
  }
}

void DecodeIma(State* state, const uint8_t* codes, int n, int16_t* out) {
  for (int i = 0; i + 1 < n; i += 2) {
    const uint8_t byte = codes[i / 2];
    out[i] = DecodeNibble(state, byte & 0x0F, Expansion::Product);
    out[i + 1] = DecodeNibble(state, byte >> 4, Expansion::Product);
  }
}

void EncodeIma(State* state, const int16_t* in, int n, uint8_t* codes) {
  for (int i = 0; i + 1 < n; i += 2) {
    const int low = EncodeSample(state, in[i], Expansion::Product);
    const int high = EncodeSample(state, in[i + 1], Expansion::Product);
    codes[i / 2] = static_cast<uint8_t>((high << 4) | low);
  }
}

}  // namespace zp::adpcm
