#include "audio/CEchoCanceller.h"

#include <speex/speex_echo.h>

#include <algorithm>
#include <cstring>

#include "common/CAutoLock.h"
#include "common/LogAccess.h"

namespace zp {

CEchoCanceller::CEchoCanceller(uint32_t rate) : m_nRate(rate), m_nFrame(rate / 50) {}

CEchoCanceller::~CEchoCanceller() { Close(); }

bool CEchoCanceller::Open() {
  if (m_pState != nullptr || m_nFrame == 0) {
    return false;
  }
  m_pState = speex_echo_state_init(static_cast<int>(m_nFrame), static_cast<int>(m_nRate / 5));
  if (m_pState == nullptr) {
    LogError("%s speex_echo_state_init failed at %u Hz", "CEchoCanceller::Open", m_nRate);
    return false;
  }
  spx_int32_t rate = static_cast<spx_int32_t>(m_nRate);
  speex_echo_ctl(m_pState, SPEEX_ECHO_SET_SAMPLING_RATE, &rate);
  m_FarRing.assign(m_nRate, 0);
  m_FarFrame.assign(m_nFrame, 0);
  m_OutFrame.assign(m_nFrame, 0);
  return true;
}

void CEchoCanceller::Start() { m_bStarted = m_pState != nullptr; }

void CEchoCanceller::Stop() { m_bStarted = false; }

void CEchoCanceller::Close() {
  m_bStarted = false;
  if (m_pState != nullptr) {
    speex_echo_state_destroy(m_pState);
    m_pState = nullptr;
  }
}

void CEchoCanceller::FeedFarEnd(const int16_t* samples, uint32_t count) {
  CAutoLock lock(&m_farLock);
  if (m_FarRing.empty()) {
    return;
  }
  for (uint32_t i = 0; i < count; ++i) {
    m_FarRing[(m_u64FarWritten + i) % m_FarRing.size()] = samples[i];
  }
  m_u64FarWritten += count;
}

// The far-end frame that was played delaySamples before the newest far-end sample minus a
// frame; silence where nothing was played yet. Called under the far-end lock.
const int16_t* CEchoCanceller::FarEndAt(uint32_t delaySamples) {
  const uint64_t span = static_cast<uint64_t>(delaySamples) + m_nFrame;
  for (uint32_t i = 0; i < m_nFrame; ++i) {
    const uint64_t back = span - i;
    m_FarFrame[i] = back > m_u64FarWritten ? 0 : m_FarRing[(m_u64FarWritten - back) % m_FarRing.size()];
  }
  return m_FarFrame.data();
}

void CEchoCanceller::Process(int16_t* data, uint32_t bytes, int32_t delayMs) {
  if (!m_bStarted || data == nullptr) {
    return;
  }
  const uint32_t delay = std::min<uint32_t>(static_cast<uint32_t>(std::max(delayMs, 0)) * m_nRate / 1000,
                                            m_nRate - 2 * m_nFrame);
  for (uint32_t at = 0; at + m_nFrame <= bytes / 2; at += m_nFrame) {
    CAutoLock lock(&m_farLock);
    speex_echo_cancellation(m_pState, data + at, FarEndAt(delay), m_OutFrame.data());
    std::memcpy(data + at, m_OutFrame.data(), m_nFrame * sizeof(int16_t));
  }
}

}  // namespace zp
