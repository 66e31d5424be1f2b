#include "player/CStreamCache.h"

#include <new>

#include "common/CAutoLock.h"
#include "player/CStreamTiming.h"
#include "platform/TempFile.h"

namespace zp {

namespace {

constexpr uint32_t kKeyClass = 0x63643000;
constexpr uint32_t kPredictedClass = 0x63643100;
constexpr uint32_t kRefusedType = 2;

bool IsKey(uint32_t nType) { return (nType & 0xFFFFFF00u) == kKeyClass; }

}  // namespace

CStreamCache::~CStreamCache() { Close(); }

bool CStreamCache::Open() {
  CAutoLock lock(&m_IndexLock);
  CloseLocked();
  m_strPath = platform::CreateTempFile("zephplay");
  if (m_strPath.empty()) {
    return false;
  }
  platform::RemoveAtUnload(m_strPath);
  m_pFile = std::fopen(m_strPath.c_str(), "wb+");
  if (m_pFile == nullptr) {
    platform::RemoveTempFile(m_strPath);
    m_strPath.clear();
    return false;
  }
  return true;
}

void CStreamCache::Close() {
  CAutoLock lock(&m_IndexLock);
  CloseLocked();
}

void CStreamCache::CloseLocked() {
  if (m_pFile != nullptr) {
    std::fclose(m_pFile);
    m_pFile = nullptr;
  }
  if (!m_strPath.empty()) {
    platform::RemoveTempFile(m_strPath);
    m_strPath.clear();
  }
  m_Index.clear();
  m_nPosition = 0;
}

bool CStreamCache::IsOpen() {
  CAutoLock lock(&m_IndexLock);
  return m_pFile != nullptr;
}

bool CStreamCache::Append(const uint8_t* pData, uint32_t nLength, uint32_t nType, uint64_t u64Stamp) {
  CAutoLock lock(&m_IndexLock);
  if (m_pFile == nullptr || std::fseek(m_pFile, 0, SEEK_END) != 0) {
    return false;
  }
  const long offset = std::ftell(m_pFile);
  // Offsets are 32-bit: a cache stops growing at 4 GiB.
  if (offset < 0 || static_cast<uint64_t>(offset) + nLength > UINT32_MAX) {
    return false;
  }
  if (nLength != 0 && std::fwrite(pData, 1, nLength, m_pFile) != nLength) {
    return false;
  }
  m_Index.push_back({u64Stamp, nType, static_cast<uint32_t>(offset), nLength});
  return true;
}

bool CStreamCache::GrowReadBuffer(uint32_t nLength) {
  if (static_cast<int64_t>(nLength) <= m_nReadBufferSize) {
    return true;
  }
  const uint64_t size = (static_cast<uint64_t>(nLength) + 256) / 4 * 4;
  std::unique_ptr<uint8_t[]> buffer(new (std::nothrow) uint8_t[size]());
  if (buffer == nullptr) {
    return false;
  }
  m_pReadBuffer = std::move(buffer);
  m_nReadBufferSize = static_cast<int32_t>(size);
  return true;
}

bool CStreamCache::ReadNext(QueueFrameHead* pHead, const uint8_t** ppData) {
  CAutoLock lock(&m_IndexLock);
  if (m_pFile == nullptr || m_nPosition >= static_cast<int>(m_Index.size())) {
    return false;
  }
  const CacheIndexEntry entry = m_Index[static_cast<size_t>(m_nPosition++)];
  if (!GrowReadBuffer(entry.nLength) || std::fseek(m_pFile, entry.nOffset, SEEK_SET) != 0 ||
      std::fread(m_pReadBuffer.get(), 1, entry.nLength, m_pFile) != entry.nLength) {
    return false;
  }
  *pHead = QueueFrameHead{entry.nType, entry.nLength, entry.u64Stamp};
  *ppData = m_pReadBuffer.get();
  return true;
}

// Only auxiliary entries are skipped: they travel with the picture before them.
bool CStreamCache::StepBack() {
  CAutoLock lock(&m_IndexLock);
  if (m_nPosition > 0) {
    --m_nPosition;
  }
  while (m_nPosition >= 1) {
    const uint32_t type = m_Index[static_cast<size_t>(m_nPosition)].nType;
    if (IsKey(type) || (type & 0xFFFFFF00u) != kAuxClass) {
      break;
    }
    --m_nPosition;
  }
  return m_nPosition != 0;
}

void CStreamCache::Rewind() {
  CAutoLock lock(&m_IndexLock);
  m_Index.clear();
  m_nPosition = 0;
  if (m_pFile != nullptr) {
    std::fseek(m_pFile, 0, SEEK_SET);
  }
}

int CStreamCache::Count() {
  CAutoLock lock(&m_IndexLock);
  return static_cast<int>(m_Index.size());
}

int CStreamCache::Position() {
  CAutoLock lock(&m_IndexLock);
  return m_nPosition;
}

void CStreamCache::SetPosition(int nPosition) {
  CAutoLock lock(&m_IndexLock);
  m_nPosition = nPosition;
}

CacheIndexEntry CStreamCache::Entry(int nIndex) {
  CAutoLock lock(&m_IndexLock);
  if (nIndex < 0 || nIndex >= static_cast<int>(m_Index.size())) {
    return {};
  }
  return m_Index[static_cast<size_t>(nIndex)];
}

bool CStreamCache::BaseStamp(uint64_t* pStamp) {
  CAutoLock lock(&m_IndexLock);
  if (m_Index.empty()) {
    return false;
  }
  const size_t base = m_Index[0].nType == kRefusedType && m_Index.size() > 1 ? 1 : 0;
  *pStamp = m_Index[base].u64Stamp;
  return true;
}

int CStreamCache::FindAtOrAfter(int nFrom, uint64_t u64Stamp, bool bAnyEntry) {
  CAutoLock lock(&m_IndexLock);
  for (int i = nFrom < 0 ? 0 : nFrom; i < static_cast<int>(m_Index.size()); ++i) {
    const CacheIndexEntry& entry = m_Index[static_cast<size_t>(i)];
    if (entry.u64Stamp >= u64Stamp && (bAnyEntry || IsKey(entry.nType))) {
      return i;
    }
  }
  return -1;
}

int CStreamCache::FindKeyBackward(int nFrom) {
  CAutoLock lock(&m_IndexLock);
  for (int i = nFrom < static_cast<int>(m_Index.size()) ? nFrom : static_cast<int>(m_Index.size()) - 1; i >= 0; --i) {
    if (IsKey(m_Index[static_cast<size_t>(i)].nType)) {
      return i;
    }
  }
  return -1;
}

int CStreamCache::FindForward(int nFrom, bool bNonKeyToo) {
  CAutoLock lock(&m_IndexLock);
  for (int i = nFrom < 0 ? 0 : nFrom; i < static_cast<int>(m_Index.size()); ++i) {
    const uint32_t type = m_Index[static_cast<size_t>(i)].nType;
    if (IsKey(type) || (bNonKeyToo && (type & 0xFFFFFF00u) == kPredictedClass)) {
      return i;
    }
  }
  return -1;
}

bool CStreamCache::PlayedSeconds(uint32_t* pSeconds) {
  CAutoLock lock(&m_IndexLock);
  uint64_t base = 0;
  if (!BaseStamp(&base)) {
    *pSeconds = 0;
    return false;
  }
  const bool atEnd = m_nPosition >= static_cast<int>(m_Index.size());
  const CacheIndexEntry& entry = atEnd ? m_Index.back() : m_Index[static_cast<size_t>(m_nPosition)];
  *pSeconds = CStreamTiming::PlayedSeconds(base, entry.u64Stamp);
  return !atEnd;
}

bool CStreamCache::BufferedSeconds(uint32_t* pSeconds) {
  CAutoLock lock(&m_IndexLock);
  if (m_nPosition < 0 || m_nPosition >= static_cast<int>(m_Index.size())) {
    return false;
  }
  const uint64_t last = m_Index.back().u64Stamp / 1000000;
  const uint64_t current = m_Index[static_cast<size_t>(m_nPosition)].u64Stamp / 1000000;
  *pSeconds = static_cast<uint32_t>(last > current ? last - current : current - last);
  return true;
}

}  // namespace zp
