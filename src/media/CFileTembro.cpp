#include "media/CFileTembro.h"

#include <algorithm>

#include "common/CAutoLock.h"
#include "common/LogAccess.h"

namespace zp {

namespace {

constexpr uint64_t kBeginProbe = 260;
constexpr int kBeginFrames = 3;
constexpr uint64_t kEndBlock = 4096;

}  // namespace

bool CFileTembro::ReadFileBeginPts() {
  uint8_t probe[kBeginProbe];
  const uint64_t got = ReadAt(0, probe, kBeginProbe);
  uint64_t at = 0;
  for (int i = 0; i < kBeginFrames; ++i) {
    if (at + kShortHeadLength > got) {
      return false;
    }
    const uint32_t tag = ReadU32(probe + at);
    if (IsVideoKind(tag)) {
      if (at + 24 > got) {
        return false;
      }
      m_FileInfo.u64FileBegPts = ReadU64(probe + at + 16);
      return true;
    }
    if (IsAudioKind(tag)) {
      m_FileInfo.u64FileBegPts = ReadU64(probe + at + 8);
      return true;
    }
    if (TagKind(tag) != FRAME_TAG_DATA) {
      return false;
    }
    at += kShortHeadLength + ReadU32(probe + at + 4);
  }
  return false;
}

bool CFileTembro::ReadFileEndPts() {
  if (m_nFileSize <= grec::kHeadLength) {
    return false;
  }
  const uint64_t length = std::min(kEndBlock, m_nFileSize - grec::kHeadLength);
  uint64_t stamp = 0;  // FileInfo is packed: its 64-bit fields cannot be written through a pointer
  if (!FindLastVideoStamp(m_nFileSize, length, &stamp)) {
    return false;
  }
  m_FileInfo.u64FileEndPts = stamp;
  return true;
}

int CFileTembro::OpenFile(const char* path) {
  CAutoLock lock(&m_FileLock);
  if (path == nullptr || OpenForRead(path) != 0) {
    LogError("%s NULL == m_pFile %s", "CFileTembro::OpenFile", path != nullptr ? path : "");
    return 1;
  }
  if (!ReadFileBeginPts() || !ReadFileEndPts()) {
    LogError("%s \xA1\xBEif (!ReadFileBeginPts() || !ReadFileEndPts())\xA1\xBF", "CFileTembro::OpenFile");
    CloseHandle();
    return 1;
  }
  const uint64_t total = FillFileInfo();
  LogError("%s m_FileInfo.u64FileEndPts\xA1\xBE%llu\xA1\xBF m_FileInfo.u64FileBegPts\xA1\xBE%llu\xA1\xBF "
           "u64TotalTime\xA1\xBE%llu\xA1\xBF m_FileInfo.nTotalMinSecond\xA1\xBE%u\xA1\xBF",
           "CFileTembro::OpenFile", static_cast<unsigned long long>(m_FileInfo.u64FileEndPts),
           static_cast<unsigned long long>(m_FileInfo.u64FileBegPts), static_cast<unsigned long long>(total),
           m_FileInfo.nTotalMinSecond);
  m_FileInfo.nStreamKind = 1;
  // Frames are read from offset 0, the same place the begin stamp came from.
  StartReading(0);
  return 0;
}

}  // namespace zp
