#include "media/CTaggedFileReader.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "common/CAutoLock.h"
#include "media/TagScan.h"

namespace zp {

namespace {

constexpr uint32_t kSyncTail = 7;
constexpr uint64_t kScanBlock = 65536;
constexpr uint64_t kEndBlock = 4096;
constexpr uint64_t kEndCarry = 31;
constexpr uint64_t kOneSecond = 1000000;

// Header length by the file rule: 32 for the two video kinds, 16 for everything else.
uint32_t FileHeadLength(uint32_t tag) { return IsVideoKind(tag) ? kVideoHeadLength : kShortHeadLength; }

}  // namespace

CTaggedFileReader::~CTaggedFileReader() {
  CloseHandle();
  delete[] m_pReadBuf;
}

int CTaggedFileReader::OpenForRead(const char* path) {
  CloseHandle();
  m_pFile = std::fopen(path, "rb");
  if (m_pFile == nullptr) {
    return 1;
  }
  std::strncpy(m_szFileName, path, sizeof m_szFileName - 1);
  m_szFileName[sizeof m_szFileName - 1] = '\0';
  std::fseek(m_pFile, 0, SEEK_END);
  const long size = std::ftell(m_pFile);
  m_nFileSize = size > 0 ? static_cast<uint64_t>(size) : 0;
  std::fseek(m_pFile, 0, SEEK_SET);
  if (m_pReadBuf == nullptr) {
    m_pReadBuf = new (std::nothrow) uint8_t[kReadBufferSize];
  }
  if (m_Scan.empty()) {
    m_Scan.resize(kScanBlock);
  }
  if (m_pReadBuf == nullptr) {
    CloseHandle();
    return 1;
  }
  m_nFilePos = 0;
  m_bFileMoved = false;
  EmptyBuffer();
  return 0;
}

void CTaggedFileReader::CloseHandle() {
  if (m_pFile != nullptr) {
    std::fclose(m_pFile);
    m_pFile = nullptr;
  }
}

int CTaggedFileReader::CloseFile() {
  CAutoLock lock(&m_FileLock);
  CloseHandle();
  EmptyBuffer();
  return 0;
}

uint64_t CTaggedFileReader::DataEnd() const {
  const uint64_t index = HeadIndexOffset();
  return index != 0 && index < m_nFileSize ? index : m_nFileSize;
}

void CTaggedFileReader::EmptyBuffer() {
  m_nBufBytes = 0;
  m_nReadPos = 0;
}

void CTaggedFileReader::PositionAt(uint64_t offset) {
  EmptyBuffer();
  m_nFilePos = offset;
  m_bFileMoved = true;
}

bool CTaggedFileReader::SeekFilePosition(uint64_t offset) {
  if (offset > static_cast<uint64_t>(INT64_MAX)) {
    return false;
  }
  return std::fseek(m_pFile, static_cast<long>(offset), SEEK_SET) == 0;
}

uint32_t CTaggedFileReader::Fill() {
  const uint64_t end = DataEnd();
  if (m_pFile == nullptr || m_nFilePos >= end || m_nBufBytes >= m_nBufCapacity) {
    return 0;
  }
  if (m_bFileMoved) {
    if (!SeekFilePosition(m_nFilePos)) {
      return 0;
    }
    m_bFileMoved = false;
  }
  const uint64_t want = std::min<uint64_t>(m_nBufCapacity - m_nBufBytes, end - m_nFilePos);
  const size_t got = std::fread(m_pReadBuf + m_nBufBytes, 1, want, m_pFile);
  m_nBufBytes += static_cast<uint32_t>(got);
  m_nFilePos += got;
  return static_cast<uint32_t>(got);
}

uint64_t CTaggedFileReader::ReadAt(uint64_t offset, uint8_t* dest, uint64_t length) {
  if (m_pFile == nullptr || !SeekFilePosition(offset)) {
    return 0;
  }
  m_bFileMoved = true;
  return std::fread(dest, 1, length, m_pFile);
}

void CTaggedFileReader::StartReading(uint64_t readFrom) {
  PositionAt(readFrom);
  m_nFramesFrom = readFrom;
  m_nIndexCursor = 0;
  m_bStepPending = false;
  m_bStepStarted = false;
  m_nKeyPos = 0;
  m_nKeyBackLink = 0;
  m_u64CurStamp = m_FileInfo.u64FileBegPts;
  m_nCurFrameOffset = grec::kHeadLength;
}

uint64_t CTaggedFileReader::FillFileInfo() {
  const uint8_t* date = m_Head + grec::kOffStartTime;
  m_FileInfo.wYear = date[0];
  m_FileInfo.wMonth = date[1];
  m_FileInfo.wDay = date[2];
  m_FileInfo.wHour = date[3];
  m_FileInfo.wMinute = date[4];
  m_FileInfo.wSecond = date[5];
  const uint64_t total = m_FileInfo.u64FileEndPts > m_FileInfo.u64FileBegPts
                             ? m_FileInfo.u64FileEndPts - m_FileInfo.u64FileBegPts
                             : 0;
  m_FileInfo.nTotalMinSecond = static_cast<uint32_t>(total / 1000);
  return total;
}

bool CTaggedFileReader::FindLastVideoStamp(uint64_t blockEnd, uint64_t blockLength, uint64_t* stamp) {
  uint8_t* block = m_Scan.data();
  if (blockLength < kVideoHeadLength || blockLength > blockEnd) {
    return false;
  }
  // Bytes past the end of the file read as zero and hold no tag, so the walk starts where the
  // file ends: a head whose index offset points far beyond the file costs no more than the file.
  const uint64_t lastUseful = m_nFileSize + kVideoHeadLength;
  if (blockEnd > lastUseful) {
    blockEnd = lastUseful;
    blockLength = std::min(blockLength, blockEnd - std::min<uint64_t>(blockEnd, grec::kHeadLength));
  }
  for (;;) {
    if (blockLength < kVideoHeadLength || blockLength > blockEnd) {
      return false;
    }
    const uint64_t start = blockEnd - blockLength;
    // Bytes past the end of the file read as zero, which holds no tag.
    std::memset(block, 0, blockLength);
    ReadAt(start, block, blockLength);
    for (uint64_t i = blockLength - kVideoHeadLength + 1; i-- > 0;) {
      const uint32_t word = ReadU32(block + i);
      if (IsFileTag(word) && IsVideoKind(word)) {
        *stamp = ReadU64(block + i + 16);
        return true;
      }
    }
    if (start < grec::kHeadLength + 1) {
      return false;
    }
    blockEnd = start + kEndCarry;
    blockLength = std::min(kEndBlock, blockEnd - grec::kHeadLength);
  }
}

int CTaggedFileReader::SeekToBegin() {
  CAutoLock lock(&m_FileLock);
  if (m_pFile == nullptr) {
    return 1;
  }
  PositionAt(m_nKeyPos != 0 ? m_nKeyPos : DataStart());
  m_u64CurStamp = m_FileInfo.u64FileBegPts;
  m_nCurFrameOffset = grec::kHeadLength;
  m_bStepStarted = false;
  return 0;
}

int CTaggedFileReader::TakeFrame(uint32_t at, uint32_t headLength, uint32_t length, FrameHead** frame) {
  FrameHead* record = GetFrameRecord(length);
  if (record == nullptr) {
    return 1;  // every record is out: the caller must release one first; nothing is consumed
  }
  const uint8_t* head = m_pReadBuf + at;
  const uint32_t tag = ReadU32(head);
  std::memcpy(record->pData, head + headLength, length);
  record->nLength = length;
  if (TagKind(tag) == FRAME_TAG_DATA) {
    record->nType = FRAME_TAG_DATA;
    record->u64Stamp = 0;
  } else {
    record->nType = IsVideoKind(tag) ? TagKind(tag) : FRAME_TAG_WAVE;
    record->u64Stamp = GetStamp(head, tag);
    m_u64CurStamp = record->u64Stamp;
    m_nCurFrameOffset = m_nFilePos - m_nBufBytes + at;
  }
  m_nReadPos = at + headLength + length;
  *frame = record;
  return 0;
}

int CTaggedFileReader::ReadFrame(FrameHead** frame) {
  CAutoLock lock(&m_FileLock);
  if (frame == nullptr || m_pFile == nullptr) {
    return 1;
  }
  if (m_bStepPending) {
    m_bStepPending = false;
    PositionAt(m_nKeyPos != 0 ? m_nKeyPos : m_nFilePos);
    m_nKeyPos = 0;
  }
  m_bStepStarted = false;
  for (;;) {
    if (m_nReadPos >= m_nBufBytes) {
      EmptyBuffer();
      if (Fill() == 0) {
        return 1;
      }
    }
    const int64_t p = FindTag<IsFileTagWord>(m_pReadBuf, m_nReadPos, m_nBufBytes);
    if (p < 0) {
      const uint32_t keep = std::min(kSyncTail, m_nBufBytes - m_nReadPos);
      std::memmove(m_pReadBuf, m_pReadBuf + m_nBufBytes - keep, keep);
      m_nBufBytes = keep;
      m_nReadPos = 0;
      if (Fill() == 0) {
        return 1;
      }
      continue;
    }
    const uint32_t at = static_cast<uint32_t>(p);
    const uint32_t tag = ReadU32(m_pReadBuf + at);
    const uint32_t headLength = FileHeadLength(tag);
    const uint32_t length = ReadU32(m_pReadBuf + at + 4);
    const uint64_t total = uint64_t{headLength} + length;
    if (at + total <= m_nBufBytes) {
      return TakeFrame(at, headLength, length, frame);
    }
    std::memmove(m_pReadBuf, m_pReadBuf + at, m_nBufBytes - at);
    m_nBufBytes -= at;
    m_nReadPos = 0;
    if (Fill() == 0 || m_nBufBytes <= total) {
      return 1;
    }
  }
}

bool CTaggedFileReader::TargetStamp(int32_t ms, uint64_t* target) const {
  if (m_pFile == nullptr || ms < 0) {
    return false;
  }
  const uint64_t stamp = m_FileInfo.u64FileBegPts + static_cast<uint64_t>(ms) * 1000;
  if (stamp < m_FileInfo.u64FileBegPts || stamp > m_FileInfo.u64FileEndPts) {
    return false;
  }
  *target = stamp;
  return true;
}

size_t CTaggedFileReader::SearchIndex(uint64_t target) const {
  size_t lo = 0;
  size_t hi = m_Index.size();
  for (;;) {
    const size_t mid = lo + (hi - lo) / 2;
    if (mid == lo) {
      return lo;
    }
    const uint64_t stamp = m_Index[mid].u64Stamp;
    const uint64_t distance = stamp > target ? stamp - target : target - stamp;
    if (distance < kOneSecond) {
      return mid;
    }
    if (stamp <= target) {
      lo = mid;
    } else {
      hi = mid;
    }
  }
}

uint64_t CTaggedFileReader::ProportionalOffset(uint64_t target) const {
  const uint64_t start = DataStart();
  const uint64_t end = DataEnd();
  const uint64_t span = m_FileInfo.u64FileEndPts - m_FileInfo.u64FileBegPts;
  if (end <= start || span == 0) {
    return start;
  }
  const double share = static_cast<double>(target - m_FileInfo.u64FileBegPts) / static_cast<double>(span);
  return start + static_cast<uint64_t>(static_cast<double>(end - start) * share);
}

bool CTaggedFileReader::IsWholeFrame(uint64_t offset, const uint8_t* header) const {
  return offset + kVideoHeadLength + ReadU32(header + 4) <= DataEnd();
}

bool CTaggedFileReader::FindKeyForward(uint64_t from, KeyFrameAt* key) {
  const uint64_t end = DataEnd();
  uint8_t* block = m_Scan.data();
  uint64_t pos = from;
  while (pos + kVideoHeadLength <= end) {
    const uint64_t got = ReadAt(pos, block, std::min<uint64_t>(kScanBlock, end - pos));
    if (got < kVideoHeadLength) {
      return false;
    }
    const int64_t last = static_cast<int64_t>(got - kVideoHeadLength);
    for (int64_t i = 0; i <= last; ++i) {
      i = FindTag<IsFileKeyTagWord>(block, i, last + 8);
      if (i < 0) {
        break;
      }
      if (IsWholeFrame(pos + i, block + i)) {
        key->nOffset = pos + i;
        std::memcpy(key->header, block + i, kVideoHeadLength);
        return true;
      }
    }
    if (pos + got >= end) {
      return false;
    }
    pos += got - kEndCarry;
  }
  return false;
}

bool CTaggedFileReader::FindKeyBackward(uint64_t from, KeyFrameAt* key) {
  const uint64_t start = m_nFramesFrom;
  const uint64_t end = DataEnd();
  uint8_t* block = m_Scan.data();
  uint64_t hi = std::min(from + kVideoHeadLength, end);
  while (hi >= start + kVideoHeadLength) {
    const uint64_t lo = hi - std::min(kScanBlock, hi - start);
    const uint64_t got = ReadAt(lo, block, hi - lo);
    for (uint64_t i = got >= kVideoHeadLength ? got - kVideoHeadLength + 1 : 0; i-- > 0;) {
      if (IsFileKeyTagWord(ReadU32(block + i)) && IsWholeFrame(lo + i, block + i)) {
        key->nOffset = lo + i;
        std::memcpy(key->header, block + i, kVideoHeadLength);
        return true;
      }
    }
    if (lo == start) {
      return false;
    }
    hi = lo + kEndCarry;
  }
  return false;
}

bool CTaggedFileReader::LocateWithoutIndex(uint64_t target, KeyFrameAt* key) {
  // The begin stamp came from the first frames, which may lie before the data start of a rewind.
  const uint64_t guess = target == m_FileInfo.u64FileBegPts ? m_nFramesFrom : ProportionalOffset(target);
  if (FindKeyForward(guess, key) || FindKeyBackward(guess, key)) {
    return true;
  }
  key->nOffset = guess;
  return false;
}

int CTaggedFileReader::SeekTime(int32_t ms, uint32_t /*flag*/) {
  CAutoLock lock(&m_FileLock);
  uint64_t target = 0;
  if (!TargetStamp(ms, &target)) {
    return 1;
  }
  m_bStepPending = false;
  m_bStepStarted = false;
  m_nKeyPos = 0;
  if (!m_Index.empty()) {
    const grec::IndexEntry& entry = m_Index[SearchIndex(target)];
    m_u64CurStamp = entry.u64Stamp;
    m_nCurFrameOffset = entry.nOffset;
    PositionAt(entry.nOffset);
    return 0;
  }
  KeyFrameAt key;
  if (LocateWithoutIndex(target, &key)) {
    m_u64CurStamp = ReadU64(key.header + 16);
  }
  m_nCurFrameOffset = key.nOffset;
  PositionAt(key.nOffset);
  return 0;
}

int CTaggedFileReader::ReadTimeOffset(int32_t ms, uint32_t* offset) {
  CAutoLock lock(&m_FileLock);
  uint64_t target = 0;
  if (offset == nullptr || !TargetStamp(ms, &target)) {
    return 1;
  }
  if (!m_Index.empty()) {
    *offset = m_Index[SearchIndex(target)].nOffset;
    return 0;
  }
  KeyFrameAt key;
  LocateWithoutIndex(target, &key);
  *offset = static_cast<uint32_t>(key.nOffset);
  return 0;
}

int CTaggedFileReader::ReadKeyFrameAt(uint64_t offset, FrameHead** frame) {
  uint8_t header[kVideoHeadLength];
  if (ReadAt(offset, header, kVideoHeadLength) != kVideoHeadLength || TagKind(ReadU32(header)) != FRAME_TAG_I ||
      !IsWholeFrame(offset, header)) {
    return 1;
  }
  const uint32_t length = ReadU32(header + 4);
  FrameHead* record = GetFrameRecord(length + kVideoHeadLength);
  if (record == nullptr) {
    return 1;
  }
  std::memcpy(record->pData, header, kVideoHeadLength);
  if (ReadAt(offset + kVideoHeadLength, record->pData + kVideoHeadLength, length) != length) {
    ReleaseFrame(record);
    return 1;
  }
  record->nLength = length + kVideoHeadLength;
  record->nType = FRAME_TAG_I;
  record->u64Stamp = ReadU64(header + 16);
  m_nKeyPos = offset;
  m_nKeyBackLink = ReadU32(header + 12);
  m_u64CurStamp = record->u64Stamp;
  m_nCurFrameOffset = offset;
  m_bStepPending = true;
  *frame = record;
  return 0;
}

int CTaggedFileReader::StepIndexedKeyFrame(bool first, int32_t delta, FrameHead** frame) {
  const int32_t cursor = first ? static_cast<int32_t>(SearchIndex(m_u64CurStamp)) : m_nIndexCursor + delta;
  if (cursor < 0 || cursor >= static_cast<int32_t>(m_Index.size())) {
    return 1;
  }
  m_nIndexCursor = cursor;
  return ReadKeyFrameAt(m_Index[cursor].nOffset, frame);
}

int CTaggedFileReader::ReadNextKeyFrame(FrameHead** frame) {
  CAutoLock lock(&m_FileLock);
  if (frame == nullptr || m_pFile == nullptr) {
    return 1;
  }
  const bool first = !m_bStepStarted;
  m_bStepStarted = true;
  if (!m_Index.empty()) {
    return StepIndexedKeyFrame(first, +1, frame);
  }
  KeyFrameAt key;
  if (!FindKeyForward(first ? m_nCurFrameOffset : m_nKeyPos + 1, &key)) {
    return 1;
  }
  return ReadKeyFrameAt(key.nOffset, frame);
}

int CTaggedFileReader::ReadPrevKeyFrame(FrameHead** frame) {
  CAutoLock lock(&m_FileLock);
  if (frame == nullptr || m_pFile == nullptr) {
    return 1;
  }
  const bool first = !m_bStepStarted;
  m_bStepStarted = true;
  if (!m_Index.empty()) {
    return StepIndexedKeyFrame(first, -1, frame);
  }
  uint64_t from = m_nCurFrameOffset;
  if (!first) {
    if (m_nKeyPos == 0) {
      return 1;
    }
    // The back-link names the video frame before the key frame; the previous key frame is at
    // or before it. A link that points outside the file is not followed.
    const bool linkUsable = m_nKeyBackLink != 0 && m_nKeyBackLink <= m_nKeyPos;
    from = linkUsable ? m_nKeyPos - m_nKeyBackLink : m_nKeyPos - 1;
  }
  KeyFrameAt key;
  if (!FindKeyBackward(from, &key)) {
    return 1;
  }
  return ReadKeyFrameAt(key.nOffset, frame);
}

}  // namespace zp
