#pragma once
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "common/CFrameQueue.h"
#include "common/CMutexLock.h"

namespace zp {

// One cached frame: where it lies in the cache file.
struct CacheIndexEntry {
  uint64_t u64Stamp = 0;  // µs
  uint32_t nType = 0;
  uint32_t nOffset = 0;
  uint32_t nLength = 0;
};

// The stream player's cache of mode 1: every frame received, appended to a temporary file
// (prefix "zephplay", removed at Close and, should nobody close it, when the library unloads),
// with an index in arrival order and a play position (the next entry to play).
//
// Every operation takes the index lock; a caller that combines several (a seek) holds
// IndexLock() around them. The stream player takes its play lock before this one.
class CStreamCache {
 public:
  static constexpr uint32_t kAuxClass = 0x63643900;

  CStreamCache() = default;
  ~CStreamCache();
  CStreamCache(const CStreamCache&) = delete;
  CStreamCache& operator=(const CStreamCache&) = delete;

  // A new empty cache file (any old one removed); false when it cannot be made.
  bool Open();
  // Closes and deletes the file and forgets the index.
  void Close();
  bool IsOpen();
  CMutexLock* IndexLock() { return &m_IndexLock; }

  // False (nothing indexed) unless every byte was written.
  bool Append(const uint8_t* pData, uint32_t nLength, uint32_t nType, uint64_t u64Stamp);
  // The entry at the position, read into the cache's buffer (valid until the next read); the
  // position moves on. False at the end or on a read error (the position still moves on).
  bool ReadNext(QueueFrameHead* pHead, const uint8_t** ppData);
  // One entry back, then on past auxiliary entries; false once the position is 0.
  bool StepBack();
  // Empties the index and rewinds the file (not truncated); position 0.
  void Rewind();

  int Count();
  int Position();
  void SetPosition(int nPosition);
  // The entry at nIndex; an empty one outside the index.
  CacheIndexEntry Entry(int nIndex);
  // The stamp the cache's time counts from: the first entry's, or the second's when the first
  // is a refused (type 2) frame. False when the cache is empty.
  bool BaseStamp(uint64_t* pStamp);
  // The first entry from nFrom on at or after the stamp that is a key frame (or any entry when
  // bAnyEntry); -1 when none.
  int FindAtOrAfter(int nFrom, uint64_t u64Stamp, bool bAnyEntry);
  // The last key frame at or before nFrom, searching down to 0; -1 when none.
  int FindKeyBackward(int nFrom);
  // The first key frame from nFrom on, or with bNonKeyToo also the first predicted video frame;
  // -1 when none.
  int FindForward(int nFrom, bool bNonKeyToo);
  // Whole seconds from the base stamp to the entry at the position (the last entry when the
  // position is at the end, and then false).
  bool PlayedSeconds(uint32_t* pSeconds);
  // |last stamp - stamp at the position| in whole seconds; false when nothing is left to play.
  bool BufferedSeconds(uint32_t* pSeconds);

 private:
  void CloseLocked();
  bool GrowReadBuffer(uint32_t nLength);

  CMutexLock m_IndexLock;
  std::FILE* m_pFile = nullptr;
  std::string m_strPath;
  std::vector<CacheIndexEntry> m_Index;
  int m_nPosition = 0;
  std::unique_ptr<uint8_t[]> m_pReadBuffer;
  int32_t m_nReadBufferSize = 0;
};

}  // namespace zp
