#include "FrameAssembler.h"

#include <algorithm>
#include <cstring>

void FrameAssembler::Copy(const uint8_t* data, size_t length) {
  if (m_payload.size() < m_frame.length) {
    m_payload.resize(m_frame.length);
  }
  std::memcpy(m_payload.data() + m_have, data, length);
}

bool FrameAssembler::Next(const uint8_t* data, size_t length, size_t* used) {
  size_t pos = 0;
  while (pos < length || (m_collecting && m_have == m_frame.length)) {
    if (!m_collecting) {
      size_t scanned = 0;
      m_collecting = m_scanner.Next(data + pos, length - pos, &scanned, &m_frame);
      pos += scanned;
      m_have = 0;
      m_inPlace = nullptr;
      continue;
    }
    if (m_have == m_frame.length) {
      m_collecting = false;
      *used = pos;
      return true;
    }
    const size_t take = std::min<size_t>(m_frame.length - m_have, length - pos);
    if (m_have == 0 && take == m_frame.length) {
      m_inPlace = data + pos;
    } else {
      Copy(data + pos, take);
    }
    // The scanner skips the same payload bytes, so that it looks for the next tag behind them.
    size_t skipped = 0;
    ScannedFrame none;
    m_scanner.Next(data + pos, take, &skipped, &none);
    m_have += static_cast<uint32_t>(take);
    pos += take;
  }
  *used = pos;
  return false;
}
