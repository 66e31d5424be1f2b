#pragma once
#include <cstdint>
#include <vector>

#include "common/CMutexLock.h"
#include "video/PictureInfo.h"

namespace zp {

// The decoded pictures between the decode thread and the play thread: two places, each a copy
// of a decoder's picture with its stamp. One is the current picture (shown; kept for redraw
// and capture), the other waits to be shown; before the first picture is shown both may wait.
// A place's planes grow only when a larger picture arrives, so pushing does not allocate.
// Every operation takes the ring's own lock; Lock() lets a reader hold it across calls.
class CPictureRing {
 public:
  CPictureRing() = default;
  CPictureRing(const CPictureRing&) = delete;
  CPictureRing& operator=(const CPictureRing&) = delete;

  CMutexLock* Lock() { return &m_lock; }
  // No picture waits to be shown.
  bool IsEmpty();
  // No place is free for a push.
  bool IsFull();
  // Copies the picture's planes and stamp into a free place; false when full, when the ring
  // was cleared since nGeneration was read, or when the planes cannot be allocated.
  bool Push(const PictureInfo& picture, uint64_t u64Stamp, uint32_t nGeneration);
  // Changes with every Clear: a picture decoded before a clear is not pushed after it.
  uint32_t Generation();
  // Drops the current picture and makes the next waiting one current; false when none waits.
  bool Advance();
  // The current picture (planes owned by the ring, valid until the next Advance or Clear
  // while the lock is held); false when there is none.
  bool Current(PictureInfo* pOut);
  // The stamp of the next picture to be shown; false when none waits.
  bool NextStamp(uint64_t* pStamp);
  // Drops every picture, the current one too.
  void Clear();
  int Count();

 private:
  struct Place {
    std::vector<uint8_t> planes;
    PictureInfo info;
  };
  bool CopyInto(Place* place, const PictureInfo& picture, uint64_t u64Stamp);

  CMutexLock m_lock;
  Place m_places[2];
  int m_nCount = 0;     // pictures waiting to be shown
  int m_nCurrent = -1;  // the shown picture's place, -1 for none
  int m_nNext = 0;      // the place of the oldest waiting picture
  uint32_t m_nGeneration = 0;
};

}  // namespace zp
