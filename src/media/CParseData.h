#pragma once
#include <cstdint>

#include "common/CMutexLock.h"
#include "media/FrameFormat.h"

namespace zp {

// Cuts a byte stream, delivered in pieces of any size and possibly with garbage between frames,
// into tagged frames, in place: frames are returned as views into the parse buffer.
//
// Calling order of a feeder: GetFrame / ReleaseFrame until GetFrame returns null (a frame that
// the consumer cannot take yet is simply not released and comes back on the next GetFrame),
// then Compact, then InputData with the next piece. Only InputData takes the lock; the other
// operations belong to the feeding thread and must not overlap one another.
//
// Between calls the buffer holds consumed bytes before the parse position, then at most one
// partial frame or a tail of up to 7 bytes kept so that a tag cut across two pieces is found.
// A frame whose header and payload exceed the capacity can never complete: InputData then
// refuses every piece until Reset.
class CParseData {
 public:
  CParseData() = default;
  virtual ~CParseData();
  CParseData(const CParseData&) = delete;
  CParseData& operator=(const CParseData&) = delete;

  // Frees any buffer and allocates `size` bytes; on allocation failure the parser stays without
  // a buffer (capacity 0) and refuses every non-empty piece.
  void SetBufferSize(uint32_t size);
  // Forgets every held byte; the buffer stays.
  void Reset();
  // True when `length` more bytes do not fit.
  bool IsFull(uint32_t length) const;
  // Appends a piece: 0, or 1 (nothing copied) when it does not fit.
  int InputData(const uint8_t* data, uint32_t length);
  // The next complete frame, or null when none is buffered. The view lives until the next
  // InputData, Compact, Reset or GetFrame.
  StreamFrame* GetFrame();
  // Consumes the frame that GetFrame returned.
  void ReleaseFrame(StreamFrame* frame);
  // Moves the unconsumed bytes to the buffer start.
  void Compact();

  // The frame under way when, after Compact, the buffer holds nothing but its start: its tag
  // and stamp (its head is whole), the payload bytes held and how many more complete it. A
  // feeder that has those bytes at hand may take the frame from the two parts itself and Reset,
  // which spares copying them in: the frame is exactly the one GetFrame would give. False in
  // every other state, and for a frame that could never fit the buffer.
  struct PendingFrame {
    uint32_t nTag = 0;
    uint64_t u64Stamp = 0;
    const uint8_t* pHeld = nullptr;
    uint32_t nHeld = 0;
    uint32_t nMissing = 0;
  };
  bool GetPendingFrame(PendingFrame* pending) const;
  int32_t GetFreeSize() const { return m_nCapacity - m_nDataLength; }
  // Bytes held: those of a frame under way, or a tail kept for a tag cut across pieces.
  int32_t GetHeldSize() const { return m_nDataLength; }

  // The first frame in [start, end) of `buffer`, found exactly as GetFrame finds it, for a
  // feeder that cuts a piece where it lies while the parser holds nothing. kWhole: *frame is a
  // view of a whole frame. kPartial: its head is whole but its payload runs past `end`; *frame
  // has the tag, stamp and full length, pData and nPayloadOffset where the payload starts.
  // Either way *from is the frame's first byte. kNone: no whole head; the bytes from *from on
  // (a tag whose head is cut, or the last 7 bytes) must be kept for the next piece.
  enum class Cut { kNone, kPartial, kWhole };
  static Cut CutFrame(const uint8_t* buffer, int32_t start, int32_t end, StreamFrame* frame, int32_t* from);

  // Offset of the first recognised stream tag at or after `start` that leaves at least 8 bytes
  // before `end`, or -1.
  static int32_t FindSync(const uint8_t* buffer, int32_t start, int32_t end);

 private:
  void KeepTail(int32_t from);

  CMutexLock m_Lock;
  uint8_t* m_pBuffer = nullptr;
  int32_t m_nCapacity = 0;
  int32_t m_nDataLength = 0;
  int32_t m_nParsePos = 0;
  StreamFrame m_Frame;
};

}  // namespace zp
