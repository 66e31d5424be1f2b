#include "StampPacer.h"

uint64_t StampPacer::DueMs(uint64_t stampUs) {
  if (!m_started) {
    m_started = true;
    m_baseUs = m_newestUs = stampUs;
    return 0;
  }
  if (stampUs > m_newestUs + kJumpUs || stampUs + kJumpUs < m_newestUs) {
    m_baseUs = m_newestUs = stampUs;
    m_baseMs = m_newestMs;
    return m_newestMs;
  }
  if (stampUs <= m_newestUs) {
    return m_newestMs;
  }
  m_newestUs = stampUs;
  m_newestMs = m_baseMs + static_cast<uint64_t>(static_cast<double>(stampUs - m_baseUs) / 1000.0 / m_speed);
  return m_newestMs;
}
