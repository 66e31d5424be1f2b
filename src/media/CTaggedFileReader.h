#pragma once
#include <cstdint>
#include <cstdio>
#include <vector>

#include "media/CRecFile.h"
#include "media/GrecFormat.h"

namespace zp {

// What the two readers of tagged-frame files share: a 512000-byte read buffer over the file,
// the frame search, the key-frame index (when the file has one) and the operations built on
// them. A subclass opens the file, fills the head image, the index and the time span.
//
// Reading: frames are searched at any byte offset with the file rule (video needs the low four
// bits of the sub-code clear; audio and data accept any sub-code below 0x40; auxiliary frames
// are skipped). Garbage is skipped; the last 7 unread bytes survive a search that found nothing.
// A frame that does not fit the read buffer can never be read: ReadFrame reports the end there.
// So does a frame that straddles a refill and ends exactly at the end of the data (kept: the
// players stop on it the same way as the recorders' own tools).
//
// Seeking: with an index, a binary search that takes an entry within one second of the target;
// without, a proportional guess over the frame data, then the next key frame after it (the last
// one before it when none follows).
//
// Key-frame stepping (ReadNextKeyFrame, ReadPrevKeyFrame): the first call after a reposition
// (open, SeekToBegin, SeekTime, ReadFrame) returns the key frame where the reader stands: the
// index entry found for the current stamp, or without an index the first key frame at or after
// (next) / at or before (previous) the current frame's offset. Later calls step one key frame
// on or back: through the index, or without one by scanning forward, or backwards from the
// frame that the back-link (offset 12) of the last key frame names. After stepping, the next
// ReadFrame (and SeekToBegin) resumes at the last key frame stepped to, so that normal playback
// carries on from the picture on screen.
class CTaggedFileReader : public CRecFile {
 public:
  static constexpr uint32_t kReadBufferSize = 512000;

  ~CTaggedFileReader() override;

  int CloseFile() override;
  int SeekToBegin() override;
  int ReadFrame(FrameHead** frame) override;
  int SeekTime(int32_t ms, uint32_t flag) override;
  int ReadNextKeyFrame(FrameHead** frame) override;
  int ReadPrevKeyFrame(FrameHead** frame) override;
  int ReadTimeOffset(int32_t ms, uint32_t* offset) override;

 protected:
  struct KeyFrameAt {
    uint64_t nOffset = 0;
    uint8_t header[kVideoHeadLength] = {};
  };

  // Opens the file for reading, records name and size, allocates the read buffer. 1 on failure
  // (nothing open).
  int OpenForRead(const char* path);
  void CloseHandle();
  // Reads up to `length` bytes at `offset` without disturbing the read buffer; bytes read.
  uint64_t ReadAt(uint64_t offset, uint8_t* dest, uint64_t length);
  // Walks backwards from the block [blockEnd - blockLength, blockEnd) in blocks of up to 4096
  // bytes (31 carried over) for the last video header; false once a block starts below 513.
  bool FindLastVideoStamp(uint64_t blockEnd, uint64_t blockLength, uint64_t* stamp);
  // Copies the start date from the head image and computes nTotalMinSecond; returns the span
  // in microseconds (0 when the last video stamp lies before the first stamp).
  uint64_t FillFileInfo();
  // Sets the reading state after a successful open: empty buffer, file at `readFrom`.
  void StartReading(uint64_t readFrom);

  uint32_t HeadIndexOffset() const { return ReadU32(m_Head + grec::kOffIndex); }
  uint32_t HeadFirstFrame() const { return ReadU32(m_Head + grec::kOffFirstFrame); }
  // Where SeekToBegin starts: 512 plus the head's first-frame offset.
  uint64_t DataStart() const { return uint64_t{grec::kHeadLength} + HeadFirstFrame(); }
  // The end of the frame data: the index trailer when the head names one inside the file.
  uint64_t DataEnd() const;

  std::FILE* m_pFile = nullptr;
  uint64_t m_nFileSize = 0;
  uint8_t* m_pReadBuf = nullptr;
  uint32_t m_nBufCapacity = kReadBufferSize;
  uint32_t m_nBufBytes = 0;
  uint32_t m_nReadPos = 0;
  uint8_t m_Head[grec::kHeadFieldsLength] = {};
  std::vector<grec::IndexEntry> m_Index;  // key frames only
  int32_t m_nIndexCursor = 0;
  bool m_bStepPending = false;  // the next ReadFrame resumes at m_nKeyPos
  uint64_t m_nCurFrameOffset = 0;
  uint64_t m_u64CurStamp = 0;
  uint64_t m_nKeyPos = 0;
  uint32_t m_nKeyBackLink = 0;
  bool m_bStepStarted = false;

 private:
  void EmptyBuffer();
  void PositionAt(uint64_t offset);
  uint32_t Fill();
  bool SeekFilePosition(uint64_t offset);
  // The target stamp of `ms`; false outside the file's span.
  bool TargetStamp(int32_t ms, uint64_t* target) const;
  size_t SearchIndex(uint64_t target) const;
  uint64_t ProportionalOffset(uint64_t target) const;
  // Key-frame stepping through the index: the first step after a reposition takes the entry
  // nearest the current stamp, later ones move `delta` entries; 1 past either end.
  int StepIndexedKeyFrame(bool first, int32_t delta, FrameHead** frame);
  bool FindKeyForward(uint64_t from, KeyFrameAt* key);
  bool FindKeyBackward(uint64_t from, KeyFrameAt* key);
  bool IsWholeFrame(uint64_t offset, const uint8_t* header) const;
  // The file offset that SeekTime / ReadTimeOffset land on for `target` without an index.
  bool LocateWithoutIndex(uint64_t target, KeyFrameAt* key);
  int ReadKeyFrameAt(uint64_t offset, FrameHead** frame);
  int TakeFrame(uint32_t at, uint32_t headLength, uint32_t length, FrameHead** frame);

  uint64_t m_nFramesFrom = 0;  // the first byte that may hold a frame
  uint64_t m_nFilePos = 0;     // where the next fill reads; the buffer holds the bytes before it
  bool m_bFileMoved = false;   // the stream's own position is not m_nFilePos
  std::vector<uint8_t> m_Scan;  // key-frame scans and the end search, apart from the read buffer
};

}  // namespace zp
