#include "media/CParseData.h"

#include <cstring>
#include <new>

#include "common/CAutoLock.h"
#include "media/TagScan.h"

namespace zp {

namespace {

// Bytes kept after a search that found nothing: a tag cut after its first 1 to 3 bytes, with
// the length field behind it, still fits.
constexpr int32_t kSyncTail = 7;
// A candidate needs its tag and length word in the buffer.
constexpr int32_t kSyncMinimum = 8;

}  // namespace

CParseData::~CParseData() { delete[] m_pBuffer; }

void CParseData::SetBufferSize(uint32_t size) {
  delete[] m_pBuffer;
  m_pBuffer = nullptr;
  m_nCapacity = 0;
  m_nDataLength = 0;
  m_nParsePos = 0;
  if (size > static_cast<uint32_t>(INT32_MAX)) {
    return;
  }
  m_pBuffer = new (std::nothrow) uint8_t[size];
  if (m_pBuffer != nullptr) {
    m_nCapacity = static_cast<int32_t>(size);
  }
}

void CParseData::Reset() {
  m_nDataLength = 0;
  m_nParsePos = 0;
}

bool CParseData::IsFull(uint32_t length) const {
  // Widened: a length of 2^31 or more must count as not fitting rather than wrap.
  return static_cast<int64_t>(m_nDataLength) + length > m_nCapacity;
}

int CParseData::InputData(const uint8_t* data, uint32_t length) {
  CAutoLock lock(&m_Lock);
  if (IsFull(length)) {
    return 1;
  }
  if (length == 0) {
    return 0;
  }
  std::memcpy(m_pBuffer + m_nDataLength, data, length);
  m_nDataLength += static_cast<int32_t>(length);
  return 0;
}

int32_t CParseData::FindSync(const uint8_t* buffer, int32_t start, int32_t end) {
  return static_cast<int32_t>(FindTag<IsStreamTagWord>(buffer, start, end));
}

void CParseData::KeepTail(int32_t from) {
  const int32_t kept = m_nDataLength - from;
  if (kept > 0 && from > 0) {
    std::memmove(m_pBuffer, m_pBuffer + from, static_cast<size_t>(kept));
  }
  m_nDataLength = kept > 0 ? kept : 0;
  m_nParsePos = 0;
}

CParseData::Cut CParseData::CutFrame(const uint8_t* buffer, int32_t start, int32_t end, StreamFrame* frame,
                                     int32_t* from) {
  const int32_t p = end - start < kSyncMinimum ? -1 : FindSync(buffer, start, end);
  if (p < 0) {
    *from = end - start >= kSyncTail ? end - kSyncTail : start;
    return Cut::kNone;
  }
  *from = p;
  const uint8_t* head = buffer + p;
  const uint32_t tag = ReadU32(head);
  const int64_t headLength = GetHeadLength(tag);
  if (p + headLength > end) {
    return Cut::kNone;
  }
  const int64_t length = ReadU32(head + 4);
  frame->pData = head + headLength;
  frame->nLength = static_cast<uint32_t>(length);
  frame->nTag = tag;
  frame->nPayloadOffset = static_cast<uint32_t>(p + headLength);
  frame->u64Stamp = GetStamp(head, tag);
  // 64-bit sum: a length field near 2^32 must leave the frame incomplete, not wrap to "done".
  return p + headLength + length <= end ? Cut::kWhole : Cut::kPartial;
}

StreamFrame* CParseData::GetFrame() {
  if (m_nDataLength - m_nParsePos < kSyncMinimum) {
    return nullptr;
  }
  int32_t from = 0;
  if (CutFrame(m_pBuffer, m_nParsePos, m_nDataLength, &m_Frame, &from) == Cut::kWhole) {
    return &m_Frame;
  }
  KeepTail(from);  // everything before is consumed data or garbage
  return nullptr;
}

void CParseData::ReleaseFrame(StreamFrame* frame) {
  if (frame == nullptr) {
    return;
  }
  m_nParsePos = static_cast<int32_t>(frame->nPayloadOffset + frame->nLength);
  frame->pData = nullptr;
  frame->nTag = 0;
  frame->nLength = 0;
}

void CParseData::Compact() {
  if (m_nParsePos == 0 || m_nDataLength <= 0) {
    return;
  }
  KeepTail(m_nParsePos);
}

bool CParseData::GetPendingFrame(PendingFrame* pending) const {
  if (m_nParsePos != 0 || m_nDataLength < kSyncMinimum || FindSync(m_pBuffer, 0, m_nDataLength) != 0) {
    return false;
  }
  const uint32_t tag = ReadU32(m_pBuffer);
  const int64_t headLength = GetHeadLength(tag);
  const int64_t total = headLength + static_cast<int64_t>(ReadU32(m_pBuffer + 4));
  if (headLength > m_nDataLength || total <= m_nDataLength || total > m_nCapacity) {
    return false;
  }
  pending->nTag = tag;
  pending->u64Stamp = GetStamp(m_pBuffer, tag);
  pending->pHeld = m_pBuffer + headLength;
  pending->nHeld = static_cast<uint32_t>(m_nDataLength - headLength);
  pending->nMissing = static_cast<uint32_t>(total - m_nDataLength);
  return true;
}

}  // namespace zp
