#pragma once
#include <cstdint>

namespace zp {

// Reads a NAL unit's bits, most significant first, with its emulation prevention bytes (the 03
// of each 00 00 03) left out. Reading past the end gives zero bits and marks the reader.
class CRbspReader {
 public:
  CRbspReader(const uint8_t* nal, uint32_t size) : m_pNal(nal), m_nSize(size) {}

  // count bits (at most 32) as an unsigned number.
  uint32_t Bits(int count);
  // An unsigned Exp-Golomb number, ue(v); marks the reader when longer than 32 bits.
  uint32_t Golomb();
  void Skip(int count);
  // True once a read went past the end, or a number was too long.
  bool Overrun() const { return m_bOverrun; }

 private:
  uint32_t Bit();
  // Loads the next payload byte into m_nByte; false at the end.
  bool NextByte();

  const uint8_t* m_pNal;
  uint32_t m_nSize;
  uint32_t m_nPos = 0;
  uint32_t m_nZeros = 0;  // zero bytes just read, for spotting 00 00 03
  uint32_t m_nByte = 0;
  int m_nBitsLeft = 0;
  bool m_bOverrun = false;
};

}  // namespace zp
