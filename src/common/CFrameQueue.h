#pragma once
#include <cstdint>
#include <memory>

#include "common/CMutexLock.h"

namespace zp {

// The header of a queued frame: the leading fields of the readers' frame record.
struct QueueFrameHead {
  uint32_t nType = 0;
  uint32_t nLength = 0;
  uint64_t u64Stamp = 0;  // microseconds
};

// A bounded FIFO of frames: payloads in one byte ring, headers in a circle of slots, so a frame
// goes in and out with one copy each way and no allocation. Made for n frames it has n + 1
// slots and holds at most n. Every operation takes the queue's own lock, so one producer and
// one consumer may share a queue. Operations answer 1 for success and 0 for refusal unless
// said otherwise. Only Init, Resize and KeepType allocate.
class CFrameQueue {
 public:
  CFrameQueue();
  ~CFrameQueue();
  CFrameQueue(const CFrameQueue&) = delete;
  CFrameQueue& operator=(const CFrameQueue&) = delete;

  // Replaces any storage with a ring of `bytes` bytes and maxFrames + 1 slots; 0 when either
  // allocation fails (the queue is then empty with no storage and refuses every frame).
  int Init(uint32_t maxFrames, uint32_t bytes);

  // Refused (0, nothing changes) when the queue holds its maximum frame count or the payload
  // does not fit the free bytes. head.nLength bytes are copied from data. *pWasEmpty (may be
  // null) tells whether the frame went into an empty queue: a consumer that sleeps only when
  // the queue is empty needs waking for that frame alone.
  int WriteFrame(const QueueFrameHead& head, const uint8_t* data, bool* pWasEmpty = nullptr);
  // As WriteFrame, the payload given in two pieces; head.nLength must be len1 + len2.
  int WriteFrame2(const QueueFrameHead& head, const uint8_t* part1, uint32_t len1, const uint8_t* part2,
                  uint32_t len2, bool* pWasEmpty = nullptr);
  // A frame written as its bytes arrive, by the queue's single writer: BeginFrame takes a slot
  // and room for head.nLength bytes and copies the first `len` of them (fewer than all);
  // AppendFrame copies the next ones, and the one that completes the frame hands it to the
  // reader, setting *pDone and *pWasEmpty (both may be null). While a frame is under way every
  // other write is refused and the frame is invisible to the reader; Init, Reset and KeepType
  // drop it (AppendFrame then answers 0), Resize carries it over.
  int BeginFrame(const QueueFrameHead& head, const uint8_t* part, uint32_t len);
  int AppendFrame(const uint8_t* part, uint32_t len, bool* pDone, bool* pWasEmpty);
  bool IsFrameUnderWay();

  // Takes the oldest frame; dest may be null to discard the payload. 0 when empty.
  int Pop(QueueFrameHead* head, uint8_t* dest);
  // Takes the oldest frame only if it fits *size bytes. Otherwise *size becomes the length
  // needed (0 when the queue is empty), the frame stays, and 0 is returned.
  int PopIfFits(QueueFrameHead* head, uint8_t* dest, uint32_t* size);

  // Empties the queue; the storage stays.
  void Reset();

  int GetFrameNum();
  uint32_t SlotCount();
  uint32_t Capacity();
  uint32_t FreeBytes();
  uint32_t UsedBytes();
  // True when the maximum frame count is held.
  bool IsFull();

  int PeekType(uint32_t* type);
  int PeekStamp(uint64_t* stamp);
  int PeekHeader(uint32_t* type, uint64_t* stamp);

  // (last pushed stamp - head stamp) / 1000 in *spanMs; 0 when empty; 0xFFFFFFFF when the last
  // pushed stamp is below the head stamp.
  int GetFrameSpan(uint32_t* spanMs);
  // The same span without checks: 0 for an empty queue, the wrapped difference otherwise.
  uint32_t GetFrameSpan();
  // (second stamp - head stamp) / 1000; 0 unless two frames or more are held.
  int HeadGapMs(uint32_t* gapMs);
  // The stamp of the first frame whose type is one of types[0..count); 0 when none.
  int FindStampOfTypes(const uint32_t* types, int count, uint64_t* stamp);

  // Drops the oldest frames until at most n are left.
  void ReserveFrameEx(int n);
  // Drops frames up to and including the first one stamped later than stamp.
  void ClearFrame(uint64_t stamp);
  // Keeps only frames of the given type, in order, then drops the oldest down to n.
  void KeepType(uint32_t type, int n);
  // Moves the frames into a new ring of `bytes` bytes with maxFrames + 1 slots, packed from
  // offset 0. Refused when bytes < UsedBytes(), when maxFrames is below the frames held, or when
  // an allocation fails; the queue is then as it was.
  int Resize(uint32_t maxFrames, uint32_t bytes);

 private:
  struct Slot {
    uint32_t nType;
    uint32_t nLength;
    uint64_t u64Stamp;
    Slot* pNext;
  };

  static void LinkSlots(Slot* slots, uint32_t count);
  bool Fits(uint32_t length) const;
  void CopyIn(const uint8_t* src, uint32_t len);
  void CopyOut(uint8_t* dest, uint32_t len);
  void PushHead(const QueueFrameHead& head);
  int PopLocked(QueueFrameHead* head, uint8_t* dest);
  void ResetLocked();
  void DropFrameUnderWay();

  std::unique_ptr<uint8_t[]> m_pData;
  uint32_t m_nCapacity = 0;
  uint32_t m_nReadPos = 0;
  uint32_t m_nWritePos = 0;
  uint32_t m_nFreeBytes = 0;
  uint64_t m_u64LastStamp = 0;
  uint32_t m_nSlotCount = 0;
  std::unique_ptr<Slot[]> m_pSlots;
  int32_t m_nFrameNum = 0;
  Slot* m_pReadSlot = nullptr;
  Slot* m_pWriteSlot = nullptr;
  QueueFrameHead m_Partial;        // the frame under way
  uint32_t m_nPartialMissing = 0;  // its bytes still to come; 0 when none is under way
  uint32_t m_nPartialStart = 0;    // where its bytes begin in the ring
  CMutexLock m_lock;
  std::unique_ptr<uint8_t[]> m_pScratch;
  int32_t m_nScratchSize = 0;
};

}  // namespace zp
