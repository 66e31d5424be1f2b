#pragma once
#include <cstdint>
#include <vector>

#include "common/CMutexLock.h"
#include "video/PictureInfo.h"

struct AVFrame;

namespace zp {

// The decoded pictures between the decode thread and the play thread: two places, each holding
// a decoder's picture with its stamp: a reference to libavcodec's buffers where the decoder
// gives one, else a copy of the planes. One is the current picture (shown; kept for redraw
// and capture), the other waits to be shown; before the first picture is shown both may wait.
// A place's copied planes grow only when a larger picture arrives; a reference costs
// libavcodec's small buffer records, never planes.
// Every operation takes the ring's own lock; Lock() lets a reader hold it across calls.
class CPictureRing {
 public:
  CPictureRing();
  ~CPictureRing();
  CPictureRing(const CPictureRing&) = delete;
  CPictureRing& operator=(const CPictureRing&) = delete;

  CMutexLock* Lock() { return &m_lock; }
  // No picture waits to be shown.
  bool IsEmpty();
  // No place is free for a push.
  bool IsFull();
  enum class PushResult {
    kPushed,
    kFull,     // no place free: worth trying again once the play thread moves on
    kStale,    // the ring was cleared since nGeneration was read
    kRefused,  // no planes, or their copy could not be allocated
  };
  // Puts the picture and stamp into a free place: pRef, when it holds buffers, is a reference
  // to the picture's planes and is moved into the ring (left empty); otherwise the planes are
  // copied. Unless pushed, pRef keeps its reference.
  PushResult Push(const PictureInfo& picture, uint64_t u64Stamp, uint32_t nGeneration,
                  AVFrame* pRef = nullptr);
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
    AVFrame* frame = nullptr;  // the referenced picture; empty when planes hold a copy
    PictureInfo info;
  };
  bool CopyInto(Place* place, const PictureInfo& picture, uint64_t u64Stamp);
  void Release(int nPlace);

  CMutexLock m_lock;
  Place m_places[2];
  int m_nCount = 0;     // pictures waiting to be shown
  int m_nCurrent = -1;  // the shown picture's place, -1 for none
  int m_nNext = 0;      // the place of the oldest waiting picture
  uint32_t m_nGeneration = 0;
};

}  // namespace zp
