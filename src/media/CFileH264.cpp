#include "media/CFileH264.h"

#include <algorithm>
#include <cstring>

#include "common/CAutoLock.h"

namespace zp {

namespace {

constexpr uint64_t kEndBlock = 4096;

}  // namespace

void CFileH264::LoadIndex() {
  m_Index.clear();
  const uint64_t indexOffset = HeadIndexOffset();
  if (indexOffset == 0) {
    return;
  }
  uint8_t prefix[grec::kIndexPrefixLength];
  if (ReadAt(indexOffset, prefix, sizeof prefix) != sizeof prefix || ReadU32(prefix) != grec::kIndexMagic) {
    return;
  }
  // The read buffer is free during open: entries are read through it, a partial entry carried.
  uint64_t pos = indexOffset + sizeof prefix;
  uint32_t held = 0;
  for (;;) {
    const uint64_t got = ReadAt(pos, m_pReadBuf + held, m_nBufCapacity - held);
    if (got == 0) {
      return;
    }
    pos += got;
    held += static_cast<uint32_t>(got);
    uint32_t at = 0;
    for (; at + grec::kIndexEntryLength <= held; at += grec::kIndexEntryLength) {
      const grec::IndexEntry entry = grec::ReadIndexEntry(m_pReadBuf + at);
      if (entry.nKind == FRAME_TAG_I) {
        m_Index.push_back(entry);
      }
    }
    std::memmove(m_pReadBuf, m_pReadBuf + at, held - at);
    held -= at;
  }
}

bool CFileH264::ReadFileBeginPts() {
  if (!m_Index.empty()) {
    m_FileInfo.u64FileBegPts = m_Index.front().u64Stamp;
    return true;
  }
  uint8_t head[kVideoHeadLength];
  const uint64_t got = ReadAt(DataStart(), head, sizeof head);
  if (got < kShortHeadLength) {
    return false;
  }
  const uint32_t tag = ReadU32(head);
  if (IsVideoKind(tag) && got >= 24) {
    m_FileInfo.u64FileBegPts = ReadU64(head + 16);
    return true;
  }
  if (IsAudioKind(tag)) {
    m_FileInfo.u64FileBegPts = ReadU64(head + 8);
    return true;
  }
  return false;
}

bool CFileH264::StoreEndPts(bool found, uint64_t stamp) {
  if (found) {
    m_FileInfo.u64FileEndPts = stamp;  // FileInfo is packed: no pointer to its 64-bit fields
  }
  return found;
}

bool CFileH264::ReadFileEndPts() {
  if (!m_Index.empty()) {
    m_FileInfo.u64FileEndPts = m_Index.back().u64Stamp;
    return true;
  }
  const uint64_t indexOffset = HeadIndexOffset();
  uint64_t stamp = 0;
  if (indexOffset == 0) {
    if (m_nFileSize <= grec::kHeadLength) {
      return false;
    }
    const uint64_t length = m_nFileSize < kEndBlock ? m_nFileSize - grec::kHeadLength : kEndBlock;
    const bool found = FindLastVideoStamp(m_nFileSize, length, &stamp);
    return StoreEndPts(found, stamp);
  }
  // The first block ends 512 bytes past the frame data, inside the (unusable) trailer: that is
  // where the recorders' tools look too, and files are judged by the same stamps.
  const uint64_t length = indexOffset + grec::kHeadLength < kEndBlock ? indexOffset : kEndBlock;
  const bool found = FindLastVideoStamp(indexOffset + grec::kHeadLength, length, &stamp);
  return StoreEndPts(found, stamp);
}

int CFileH264::OpenFile(const char* path) {
  CAutoLock lock(&m_FileLock);
  if (path == nullptr || OpenForRead(path) != 0) {
    return 1;
  }
  std::memset(m_Head, 0, sizeof m_Head);
  ReadAt(0, m_Head, sizeof m_Head);
  if (ReadU32(m_Head) != grec::kHeadMagic) {
    return 1;
  }
  LoadIndex();
  if (!ReadFileBeginPts() || !ReadFileEndPts()) {
    CloseHandle();
    return 1;
  }
  FillFileInfo();
  m_FileInfo.nStreamKind = ReadU32(m_Head + grec::kOffStreamKind);
  m_nAudioCodec = ReadU32(m_Head + grec::kOffAudioCodec);
  StartReading(DataStart());
  return 0;
}

}  // namespace zp
