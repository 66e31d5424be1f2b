#pragma once
#include <cstdint>
#include <vector>

#include "common/CMutexLock.h"
#include "media/FrameFormat.h"

namespace zp {

// The time span of an open recorded file. 44 bytes, packed to 4 (the 64-bit members are not
// padded to 8). The first 16 bytes have the shape of a SYSTEMTIME, filled from the six date
// bytes of the file head without conversion (the year field holds year - 2000).
#pragma pack(push, 4)
struct FileInfo {
  uint16_t wYear = 0;
  uint16_t wMonth = 0;
  uint16_t wReserved1 = 0;
  uint16_t wDay = 0;
  uint16_t wHour = 0;
  uint16_t wMinute = 0;
  uint16_t wSecond = 0;
  uint16_t wReserved2 = 0;
  uint32_t nTotalMinSecond = 0;  // (u64FileEndPts - u64FileBegPts) / 1000
  uint32_t nReserved = 0;
  uint64_t u64FileBegPts = 0;  // stamp of the first frame
  uint64_t u64FileEndPts = 0;  // stamp of the last video frame
  uint32_t nStreamKind = 0;
};
#pragma pack(pop)
static_assert(sizeof(FileInfo) == 44);

// A recorded-file reader. Frames are handed out as pooled FrameHead records that the caller
// gives back with ReleaseFrame; at most kPoolSize can be out at once. Every operation holds the
// reader's file lock for its whole run, so a reading thread and a seeking caller serialise; the
// pool has its own lock because frames are released on other threads. Results: 0 success, 1
// failure (ReadFrame: end of data).
class CRecFile {
 public:
  static constexpr uint32_t kPoolSize = 5;
  static constexpr uint32_t kPoolBufferSize = 20480;

  CRecFile();
  virtual ~CRecFile();
  CRecFile(const CRecFile&) = delete;
  CRecFile& operator=(const CRecFile&) = delete;

  // Gives a record back to the pool. Always 0.
  virtual int ReleaseFrame(FrameHead* frame);
  virtual int OpenFile(const char* path) = 0;
  // Closes the file if open. Always 0.
  virtual int CloseFile() = 0;
  // Rewinds to the first frame. 1 when no file is open.
  virtual int SeekToBegin() = 0;
  // The next frame, payload only. 1 at the end of the data (the reader stays usable).
  virtual int ReadFrame(FrameHead** frame) = 0;
  // Positions at the key frame for u64FileBegPts + ms * 1000; 1 (nothing changes) when that
  // stamp lies outside the file's span. `flag` is accepted for callers that pass one.
  virtual int SeekTime(int32_t ms, uint32_t flag) = 0;
  // Key-frame stepping for single-picture playback: one key frame, its 32-byte header kept in
  // front of the payload. 1 when there is no further key frame in that direction.
  virtual int ReadNextKeyFrame(FrameHead** frame) = 0;
  virtual int ReadPrevKeyFrame(FrameHead** frame) = 0;
  // The file offset of the key frame that SeekTime(ms) would land on, without moving the reader.
  virtual int ReadTimeOffset(int32_t ms, uint32_t* offset) = 0;

  // Copies the file's time span (valid after a successful OpenFile).
  void GetFileInfo(FileInfo* info);
  void GetFilePts(uint64_t* begin, uint64_t* end);
  // The audio coder type the recording names (the player's audio decoder), 0 when it names
  // none and the configured default applies.
  uint32_t AudioCodec() const { return m_nAudioCodec; }

  // Opens `path` with the reader its name calls for (".mpg", any case: CFileTembro; anything
  // else: CFileH264). Null when the open fails; the caller owns the reader.
  static CRecFile* CreateRecFile(const char* path);

 protected:
  // A free record whose buffer holds at least `needed` bytes, or null when all are out or the
  // buffer cannot grow. The caller has checked `needed` against what the file holds.
  FrameHead* GetFrameRecord(uint32_t needed);

  CMutexLock m_FileLock;
  char m_szFileName[260] = {};
  FileInfo m_FileInfo;
  uint32_t m_nAudioCodec = 0;

 private:
  CMutexLock m_PoolLock;
  std::vector<FrameHead*> m_FreeFrames;
  std::vector<FrameHead*> m_AllFrames;
};

}  // namespace zp
