#include "media/CRecWriterGrec.h"

#include <cstring>

#include "common/CAutoLock.h"
#include "common/LogAccess.h"
#include "platform/LocalTime.h"

namespace zp {

namespace {

constexpr size_t kEntryChunk = 204800;
constexpr size_t kEntriesReserved = 4096;
constexpr uint64_t kMaxOffset = UINT32_MAX;

uint32_t SecondsOfDay(const std::tm& t) {
  return static_cast<uint32_t>(t.tm_hour * 3600 + t.tm_min * 60 + t.tm_sec);
}

void WriteTimeOfDay(uint8_t* p, uint32_t seconds) {
  p[0] = static_cast<uint8_t>(seconds / 3600);
  p[1] = static_cast<uint8_t>(seconds % 3600 / 60);
  p[2] = static_cast<uint8_t>(seconds % 60);
}

}  // namespace

CRecWriterGrec::~CRecWriterGrec() { CloseWriter(); }

bool CRecWriterGrec::WriteAll(const void* data, size_t length) {
  if (length == 0) {
    return true;
  }
  const size_t written = std::fwrite(data, 1, length, m_pFile);
  m_nFilePos += written;
  return written == length;
}

bool CRecWriterGrec::SeekTo(uint64_t offset) {
  if (std::fseek(m_pFile, static_cast<long>(offset), SEEK_SET) != 0) {
    return false;
  }
  m_nFilePos = offset;
  return true;
}

void CRecWriterGrec::MakeFreshHead() {
  std::memset(m_Head, 0, sizeof m_Head);
  grec::FillHead(m_Head, platform::LocalTimeNow());
}

bool CRecWriterGrec::WriteHeadAtStart() {
  static const uint8_t kZeros[grec::kHeadLength - grec::kHeadFieldsLength] = {};
  const uint64_t resume = m_nFilePos;
  const bool ok = SeekTo(0) && WriteAll(m_Head, sizeof m_Head) && WriteAll(kZeros, sizeof kZeros);
  if (resume > grec::kHeadLength) {
    return SeekTo(resume) && ok;
  }
  return ok;
}

void CRecWriterGrec::LoadEntries() {
  m_Entries.clear();
  const uint32_t indexOffset = ReadU32(m_Head + grec::kOffIndex);
  if (ReadU32(m_Head) != grec::kHeadMagic || indexOffset == 0 || !SeekTo(indexOffset)) {
    return;
  }
  uint8_t prefix[grec::kIndexPrefixLength];
  if (std::fread(prefix, 1, sizeof prefix, m_pFile) != sizeof prefix || ReadU32(prefix) != grec::kIndexMagic) {
    return;
  }
  std::vector<uint8_t> chunk(kEntryChunk);
  size_t held = 0;
  for (;;) {
    const size_t got = std::fread(chunk.data() + held, 1, chunk.size() - held, m_pFile);
    if (got == 0) {
      return;
    }
    held += got;
    size_t at = 0;
    for (; at + grec::kIndexEntryLength <= held; at += grec::kIndexEntryLength) {
      m_Entries.push_back(grec::ReadIndexEntry(chunk.data() + at));
    }
    std::memmove(chunk.data(), chunk.data() + at, held - at);
    held -= at;
  }
}

int CRecWriterGrec::OpenWriter(const char* path, int /*pathKind*/) {
  CAutoLock lock(&m_WriterLock);
  CloseLocked();
  if (path == nullptr || (m_pFile = std::fopen(path, "wb+")) == nullptr) {
    return -1;
  }
  m_nFilePos = 0;
  m_Entries.clear();
  m_Entries.reserve(kEntriesReserved);
  m_bWroteVideo = false;
  MakeFreshHead();
  if (!WriteHeadAtStart()) {
    CloseLocked();
    return -1;
  }
  return 0;
}

int CRecWriterGrec::OpenWriterEx(const char* path, uint32_t* recordedMs, int /*pathKind*/) {
  CAutoLock lock(&m_WriterLock);
  CloseLocked();
  if (path == nullptr) {
    return -1;
  }
  if (std::FILE* probe = std::fopen(path, "rb")) {
    std::fclose(probe);
  } else if (std::FILE* created = std::fopen(path, "wb")) {
    std::fclose(created);
  }
  m_pFile = std::fopen(path, "r+b");
  if (m_pFile == nullptr) {
    return -1;
  }
  m_nFilePos = 0;
  m_bWroteVideo = false;
  std::memset(m_Head, 0, sizeof m_Head);
  m_nFilePos = std::fread(m_Head, 1, sizeof m_Head, m_pFile);
  LoadEntries();
  m_Entries.reserve(m_Entries.size() + kEntriesReserved);
  if (m_Entries.empty()) {
    MakeFreshHead();
    m_nFilePos = 0;
    if (!WriteHeadAtStart()) {
      CloseLocked();
      return -1;
    }
    if (recordedMs != nullptr) {
      *recordedMs = 0;
    }
    return 0;
  }
  const uint32_t milliseconds =
      static_cast<uint32_t>((m_Entries.back().u64Stamp - m_Entries.front().u64Stamp) / 1000);
  if (recordedMs != nullptr) {
    *recordedMs = milliseconds;
  }
  const uint32_t oldIndexOffset = ReadU32(m_Head + grec::kOffIndex);
  WriteU32(m_Head + grec::kOffIndex, 0);
  m_nFilePos = 0;
  if (!WriteHeadAtStart() || !SeekTo(oldIndexOffset)) {
    CloseLocked();
    return -1;
  }
  LogInfo("%s nMinSecond=%d, uiOldIndexTblOffset=%d", "CRecWriterGrec::OpenWriterEx", static_cast<int>(milliseconds),
          static_cast<int>(oldIndexOffset));
  return 0;
}

int CRecWriterGrec::SetFileHead(const uint8_t* head, uint32_t length) {
  CAutoLock lock(&m_WriterLock);
  if (m_pFile == nullptr || head == nullptr || length < grec::kHeadFieldsLength) {
    return -1;
  }
  std::memcpy(m_Head, head, sizeof m_Head);
  WriteU32(m_Head + grec::kOffIndex, 0);
  return WriteHeadAtStart() ? 0 : -1;
}

int CRecWriterGrec::WriteFrame(const uint8_t* data, uint32_t length, uint32_t tag, uint64_t stamp,
                               uint32_t* payloadOffset, uint32_t* nextOffset) {
  static const uint8_t kZeros[grec::kPadding] = {};
  CAutoLock lock(&m_WriterLock);
  if (m_pFile == nullptr || (data == nullptr && length != 0)) {
    return -1;
  }
  const uint32_t kind = TagKind(tag);
  const bool video = IsVideoKind(kind);
  const uint32_t headLength = video ? kVideoHeadLength : kShortHeadLength;
  const uint64_t padded = grec::PaddedLength(length);
  const uint64_t offset = m_nFilePos;
  if (offset + headLength + padded > kMaxOffset) {
    return -1;
  }
  uint8_t header[kVideoHeadLength] = {};
  WriteU32(header, kind);
  WriteU32(header + 4, length);
  uint32_t timeOfDay = 0;
  if (video) {
    timeOfDay = SecondsOfDay(platform::LocalTimeNow());
    WriteTimeOfDay(header + 8, timeOfDay);
    if (kind == FRAME_TAG_I && m_bWroteVideo) {
      WriteU32(header + 12, static_cast<uint32_t>(offset - m_nLastVideoOffset));
    }
    WriteU64(header + 16, stamp);
  } else if (kind == FRAME_TAG_WAVE) {
    WriteU64(header + 8, stamp);
  }
  if (!WriteAll(header, headLength) || !WriteAll(data, length) || !WriteAll(kZeros, padded - length)) {
    return -1;
  }
  if (kind == FRAME_TAG_I || (!video && kind != FRAME_TAG_WAVE)) {
    m_Entries.push_back(grec::IndexEntry{timeOfDay, static_cast<uint32_t>(offset), stamp, kind});
  }
  if (video) {
    m_nLastVideoOffset = offset;
    m_bWroteVideo = true;
  }
  if (payloadOffset != nullptr) {
    *payloadOffset = static_cast<uint32_t>(offset + headLength);
  }
  if (nextOffset != nullptr) {
    *nextOffset = static_cast<uint32_t>(m_nFilePos);
  }
  return 0;
}

int CRecWriterGrec::CloseWriter() {
  CAutoLock lock(&m_WriterLock);
  CloseLocked();
  return 0;
}

void CRecWriterGrec::CloseLocked() {
  if (m_pFile == nullptr) {
    return;
  }
  if (!m_Entries.empty()) {
    if (m_nUseBeginTime != 0) {
      uint8_t* start = m_Head + grec::kOffStartTime;
      start[0] = static_cast<uint8_t>(m_nBeginYear - 2000);
      start[1] = static_cast<uint8_t>(m_nBeginMonth);
      start[2] = static_cast<uint8_t>(m_nBeginDay);
      start[3] = static_cast<uint8_t>(m_nBeginHour);
      start[4] = static_cast<uint8_t>(m_nBeginMinute);
      start[5] = static_cast<uint8_t>(m_nBeginSecond);
    } else {
      WriteTimeOfDay(m_Head + grec::kOffStartTime + 3, m_Entries.front().nTimeOfDay);
      WriteTimeOfDay(m_Head + grec::kOffEndTime + 3, m_Entries.back().nTimeOfDay);
    }
    WriteU32(m_Head + grec::kOffIndex, static_cast<uint32_t>(m_nFilePos));
    uint8_t prefix[grec::kIndexPrefixLength];
    WriteU32(prefix, grec::kIndexMagic);
    WriteU32(prefix + 4, 8);
    bool ok = WriteAll(prefix, sizeof prefix);
    uint8_t entry[grec::kIndexEntryLength];
    for (const grec::IndexEntry& e : m_Entries) {
      grec::WriteIndexEntry(entry, e);
      ok = ok && WriteAll(entry, sizeof entry);
    }
    m_Entries.clear();
    if (!ok || !WriteHeadAtStart()) {
      LogError("%s writing the index of the recording failed", "CRecWriterGrec::CloseWriter");
    }
  }
  std::fclose(m_pFile);
  m_pFile = nullptr;
}

}  // namespace zp
