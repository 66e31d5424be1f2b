#pragma once
#include <cstdint>

// ITU-T G.711 A-law and mu-law, 16-bit linear samples (left-justified as the ITU-T reference
// tools use them). Expansion goes through 256-entry tables.
namespace zp::g711 {

int16_t AlawToLinear(uint8_t code);
int16_t UlawToLinear(uint8_t code);
uint8_t LinearToAlaw(int16_t sample);
uint8_t LinearToUlaw(int16_t sample);

// n codes to n samples.
void DecodeAlaw(const uint8_t* in, int16_t* out, int n);
void DecodeUlaw(const uint8_t* in, int16_t* out, int n);
// n samples to n codes.
void EncodeAlaw(const int16_t* in, uint8_t* out, int n);
void EncodeUlaw(const int16_t* in, uint8_t* out, int n);

}  // namespace zp::g711
