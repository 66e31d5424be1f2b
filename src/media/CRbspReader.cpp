#include "media/CRbspReader.h"

namespace zp {

bool CRbspReader::NextByte() {
  if (m_nZeros >= 2 && m_nPos < m_nSize && m_pNal[m_nPos] == 3) {
    ++m_nPos;
    m_nZeros = 0;
  }
  if (m_nPos >= m_nSize) {
    return false;
  }
  m_nByte = m_pNal[m_nPos++];
  m_nZeros = m_nByte == 0 ? m_nZeros + 1 : 0;
  m_nBitsLeft = 8;
  return true;
}

uint32_t CRbspReader::Bit() {
  if (m_nBitsLeft == 0 && !NextByte()) {
    m_bOverrun = true;
    return 0;
  }
  --m_nBitsLeft;
  return (m_nByte >> m_nBitsLeft) & 1;
}

uint32_t CRbspReader::Bits(int count) {
  uint32_t value = 0;
  for (int i = 0; i < count; ++i) {
    value = value << 1 | Bit();
  }
  return value;
}

void CRbspReader::Skip(int count) {
  for (int i = 0; i < count; ++i) {
    Bit();
  }
}

uint32_t CRbspReader::Golomb() {
  int zeros = 0;
  while (Bit() == 0 && !m_bOverrun) {
    if (++zeros > 31) {
      m_bOverrun = true;
      return 0;
    }
  }
  return ((uint32_t{1} << zeros) - 1) + Bits(zeros);
}

}  // namespace zp
