#pragma once
#include <cstdint>

#include "common/CMutexLock.h"

namespace zp {

// A recording writer. Paths are UTF-8; the path kind says how the caller gave it (1 narrow,
// 2 wide, already converted). Failures are -1 unless said otherwise.
class CRecWriter {
 public:
  static constexpr int kNarrowPath = 1;
  static constexpr int kWidePath = 2;

  CRecWriter() = default;
  virtual ~CRecWriter() = default;
  CRecWriter(const CRecWriter&) = delete;
  CRecWriter& operator=(const CRecWriter&) = delete;

  // Starts a new recording at `path`, replacing any file there.
  virtual int OpenWriter(const char* path, int pathKind) = 0;
  // Opens `path` to append to the recording there, or starts a new one; *recordedMs (may be
  // null) receives the milliseconds already recorded.
  virtual int OpenWriterEx(const char* path, uint32_t* recordedMs, int pathKind) = 0;
  // Replaces the recording's head with an application-made one.
  virtual int SetFileHead(const uint8_t* head, uint32_t length) = 0;
  // Writes one frame; *payloadOffset and *nextOffset (each may be null) receive the file offset
  // of the payload and the file position after the frame.
  virtual int WriteFrame(const uint8_t* data, uint32_t length, uint32_t tag, uint64_t stamp, uint32_t* payloadOffset,
                         uint32_t* nextOffset) = 0;
  // Finalises and closes the recording. 0.
  virtual int CloseWriter() = 0;
  // The stream's 284-byte attribute record, when the stream has one. Recordings that have no
  // place for it ignore it: 0.
  virtual int SetStreamAttr(const uint8_t* /*attr*/, uint32_t /*length*/) { return 0; }
  // The start time that close writes into the head, instead of the first frame's time of day:
  // 1 (and nothing stored) when year is 0, else 0. `use` 0 stores the values but keeps them
  // unused.
  int SetFileBeginTime(uint32_t use, uint32_t year, uint32_t month, uint32_t day, uint32_t secondsOfDay);

  // The writer for `path`: a name ending in ".mp4" (any case, and more than the suffix alone)
  // gets the MP4 writer, every other name the GREC writer. Null for a null path or no memory.
  static CRecWriter* CreateRecWriter(const char* path, int pathKind);

 protected:
  CMutexLock m_WriterLock;
  uint32_t m_nUseBeginTime = 0;
  uint32_t m_nBeginYear = 0;
  uint32_t m_nBeginMonth = 0;
  uint32_t m_nBeginDay = 0;
  uint32_t m_nBeginHour = 0;
  uint32_t m_nBeginMinute = 0;
  uint32_t m_nBeginSecond = 0;
};

}  // namespace zp
