#include "common/CFrameQueue.h"

#include <cstring>
#include <new>

#include "common/CAutoLock.h"

namespace zp {

CFrameQueue::CFrameQueue() = default;
CFrameQueue::~CFrameQueue() = default;

void CFrameQueue::LinkSlots(Slot* slots, uint32_t count) {
  for (uint32_t i = 0; i < count; ++i) {
    slots[i] = Slot{0, 0, 0, &slots[(i + 1) % count]};
  }
}

int CFrameQueue::Init(uint32_t maxFrames, uint32_t bytes) {
  CAutoLock lock(&m_lock);
  m_pData.reset();
  m_pSlots.reset();
  m_nCapacity = 0;
  m_nSlotCount = 0;
  ResetLocked();
  if (maxFrames == UINT32_MAX) {
    return 0;
  }
  std::unique_ptr<uint8_t[]> data(new (std::nothrow) uint8_t[bytes > 0 ? bytes : 1]);
  std::unique_ptr<Slot[]> slots(new (std::nothrow) Slot[maxFrames + 1]);
  if (!data || !slots) {
    return 0;
  }
  LinkSlots(slots.get(), maxFrames + 1);
  m_pData = std::move(data);
  m_pSlots = std::move(slots);
  m_nCapacity = bytes;
  m_nSlotCount = maxFrames + 1;
  ResetLocked();
  return 1;
}

void CFrameQueue::ResetLocked() {
  m_nReadPos = 0;
  m_nWritePos = 0;
  m_nFreeBytes = m_nCapacity;
  m_u64LastStamp = 0;
  m_nFrameNum = 0;
  m_pReadSlot = m_pSlots.get();
  m_pWriteSlot = m_pSlots.get();
  m_nPartialMissing = 0;
}

void CFrameQueue::Reset() {
  CAutoLock lock(&m_lock);
  ResetLocked();
}

bool CFrameQueue::Fits(uint32_t length) const {
  // The count check keeps one slot free: a queue made for n frames holds n.
  return m_nSlotCount >= 2 && static_cast<int64_t>(m_nFrameNum) <= static_cast<int64_t>(m_nSlotCount) - 2 &&
         length <= m_nFreeBytes;
}

void CFrameQueue::CopyIn(const uint8_t* src, uint32_t len) {
  if (len == 0) {
    return;
  }
  const uint32_t first = len < m_nCapacity - m_nWritePos ? len : m_nCapacity - m_nWritePos;
  std::memcpy(m_pData.get() + m_nWritePos, src, first);
  std::memcpy(m_pData.get(), src + first, len - first);
  m_nWritePos = (m_nWritePos + len) % m_nCapacity;
  m_nFreeBytes -= len;
}

void CFrameQueue::CopyOut(uint8_t* dest, uint32_t len) {
  if (len == 0) {
    return;
  }
  const uint32_t first = len < m_nCapacity - m_nReadPos ? len : m_nCapacity - m_nReadPos;
  if (dest != nullptr) {
    std::memcpy(dest, m_pData.get() + m_nReadPos, first);
    std::memcpy(dest + first, m_pData.get(), len - first);
  }
  m_nReadPos = (m_nReadPos + len) % m_nCapacity;
  m_nFreeBytes += len;
}

void CFrameQueue::PushHead(const QueueFrameHead& head) {
  m_u64LastStamp = head.u64Stamp;
  m_pWriteSlot->nType = head.nType;
  m_pWriteSlot->nLength = head.nLength;
  m_pWriteSlot->u64Stamp = head.u64Stamp;
  m_pWriteSlot = m_pWriteSlot->pNext;
  ++m_nFrameNum;
}

int CFrameQueue::WriteFrame(const QueueFrameHead& head, const uint8_t* data, bool* pWasEmpty) {
  return WriteFrame2(head, data, head.nLength, nullptr, 0, pWasEmpty);
}

int CFrameQueue::WriteFrame2(const QueueFrameHead& head, const uint8_t* part1, uint32_t len1, const uint8_t* part2,
                             uint32_t len2, bool* pWasEmpty) {
  CAutoLock lock(&m_lock);
  if (m_nPartialMissing != 0 || static_cast<uint64_t>(len1) + len2 != head.nLength || !Fits(head.nLength)) {
    return 0;
  }
  if ((part1 == nullptr && len1 > 0) || (part2 == nullptr && len2 > 0)) {
    return 0;
  }
  if (pWasEmpty != nullptr) {
    *pWasEmpty = m_nFrameNum <= 0;
  }
  CopyIn(part1, len1);
  CopyIn(part2, len2);
  PushHead(head);
  return 1;
}

int CFrameQueue::BeginFrame(const QueueFrameHead& head, const uint8_t* part, uint32_t len) {
  CAutoLock lock(&m_lock);
  if (m_nPartialMissing != 0 || len >= head.nLength || (part == nullptr && len > 0) || !Fits(head.nLength)) {
    return 0;
  }
  // Only the bytes copied leave the free count: no other write comes before the frame is
  // complete, and reading only adds room, so the rest always fits.
  m_nPartialStart = m_nWritePos;
  CopyIn(part, len);
  m_Partial = head;
  m_nPartialMissing = head.nLength - len;
  return 1;
}

int CFrameQueue::AppendFrame(const uint8_t* part, uint32_t len, bool* pDone, bool* pWasEmpty) {
  CAutoLock lock(&m_lock);
  if (m_nPartialMissing == 0 || len > m_nPartialMissing || (part == nullptr && len > 0)) {
    return 0;
  }
  CopyIn(part, len);
  m_nPartialMissing -= len;
  const bool done = m_nPartialMissing == 0;
  if (pWasEmpty != nullptr) {
    *pWasEmpty = done && m_nFrameNum <= 0;
  }
  if (pDone != nullptr) {
    *pDone = done;
  }
  if (done) {
    PushHead(m_Partial);
  }
  return 1;
}

bool CFrameQueue::IsFrameUnderWay() {
  CAutoLock lock(&m_lock);
  return m_nPartialMissing != 0;
}

void CFrameQueue::DropFrameUnderWay() {
  if (m_nPartialMissing == 0) {
    return;
  }
  m_nFreeBytes += m_Partial.nLength - m_nPartialMissing;
  m_nWritePos = m_nPartialStart;
  m_nPartialMissing = 0;
}

int CFrameQueue::PopLocked(QueueFrameHead* head, uint8_t* dest) {
  if (m_nFrameNum <= 0) {
    return 0;
  }
  const Slot& slot = *m_pReadSlot;
  if (head != nullptr) {
    *head = QueueFrameHead{slot.nType, slot.nLength, slot.u64Stamp};
  }
  CopyOut(dest, slot.nLength);
  m_pReadSlot = m_pReadSlot->pNext;
  --m_nFrameNum;
  return 1;
}

int CFrameQueue::Pop(QueueFrameHead* head, uint8_t* dest) {
  CAutoLock lock(&m_lock);
  return PopLocked(head, dest);
}

int CFrameQueue::PopIfFits(QueueFrameHead* head, uint8_t* dest, uint32_t* size) {
  CAutoLock lock(&m_lock);
  if (size == nullptr) {
    return 0;
  }
  if (m_nFrameNum <= 0) {
    *size = 0;
    return 0;
  }
  if (m_pReadSlot->nLength > *size) {
    *size = m_pReadSlot->nLength;
    return 0;
  }
  return PopLocked(head, dest);
}

int CFrameQueue::GetFrameNum() {
  CAutoLock lock(&m_lock);
  return m_nFrameNum;
}

uint32_t CFrameQueue::SlotCount() {
  CAutoLock lock(&m_lock);
  return m_nSlotCount;
}

uint32_t CFrameQueue::Capacity() {
  CAutoLock lock(&m_lock);
  return m_nCapacity;
}

uint32_t CFrameQueue::FreeBytes() {
  CAutoLock lock(&m_lock);
  return m_nFreeBytes;
}

uint32_t CFrameQueue::UsedBytes() {
  CAutoLock lock(&m_lock);
  return m_nCapacity - m_nFreeBytes;
}

bool CFrameQueue::IsFull() {
  CAutoLock lock(&m_lock);
  return static_cast<uint32_t>(m_nFrameNum) + 1 == m_nSlotCount;
}

int CFrameQueue::PeekType(uint32_t* type) { return PeekHeader(type, nullptr); }

int CFrameQueue::PeekStamp(uint64_t* stamp) { return PeekHeader(nullptr, stamp); }

int CFrameQueue::PeekHeader(uint32_t* type, uint64_t* stamp) {
  CAutoLock lock(&m_lock);
  if (m_nFrameNum <= 0) {
    return 0;
  }
  if (type != nullptr) {
    *type = m_pReadSlot->nType;
  }
  if (stamp != nullptr) {
    *stamp = m_pReadSlot->u64Stamp;
  }
  return 1;
}

int CFrameQueue::GetFrameSpan(uint32_t* spanMs) {
  CAutoLock lock(&m_lock);
  if (m_nFrameNum <= 0 || spanMs == nullptr) {
    return 0;
  }
  const uint64_t head = m_pReadSlot->u64Stamp;
  *spanMs = m_u64LastStamp < head ? 0xFFFFFFFFu : static_cast<uint32_t>((m_u64LastStamp - head) / 1000);
  return 1;
}

uint32_t CFrameQueue::GetFrameSpan() {
  CAutoLock lock(&m_lock);
  if (m_nFrameNum <= 0) {
    return 0;
  }
  return static_cast<uint32_t>((m_u64LastStamp - m_pReadSlot->u64Stamp) / 1000);
}

int CFrameQueue::HeadGapMs(uint32_t* gapMs) {
  CAutoLock lock(&m_lock);
  if (m_nFrameNum < 2 || gapMs == nullptr) {
    return 0;
  }
  *gapMs = static_cast<uint32_t>((m_pReadSlot->pNext->u64Stamp - m_pReadSlot->u64Stamp) / 1000);
  return 1;
}

int CFrameQueue::FindStampOfTypes(const uint32_t* types, int count, uint64_t* stamp) {
  CAutoLock lock(&m_lock);
  if (types == nullptr || stamp == nullptr) {
    return 0;
  }
  const Slot* slot = m_pReadSlot;
  for (int32_t i = 0; i < m_nFrameNum; ++i, slot = slot->pNext) {
    for (int t = 0; t < count; ++t) {
      if (slot->nType == types[t]) {
        *stamp = slot->u64Stamp;
        return 1;
      }
    }
  }
  return 0;
}

void CFrameQueue::ReserveFrameEx(int n) {
  CAutoLock lock(&m_lock);
  while (m_nFrameNum > n && m_nFrameNum > 0) {
    PopLocked(nullptr, nullptr);
  }
}

void CFrameQueue::ClearFrame(uint64_t stamp) {
  CAutoLock lock(&m_lock);
  QueueFrameHead head;
  while (PopLocked(&head, nullptr) != 0) {
    if (head.u64Stamp > stamp) {
      return;
    }
  }
}

void CFrameQueue::KeepType(uint32_t type, int n) {
  CAutoLock lock(&m_lock);
  DropFrameUnderWay();  // kept frames are written back where its bytes lie
  const int32_t count = m_nFrameNum;
  for (int32_t i = 0; i < count; ++i) {
    const uint32_t length = m_pReadSlot->nLength;
    if (m_pReadSlot->nType != type) {
      PopLocked(nullptr, nullptr);
      continue;
    }
    if (static_cast<uint64_t>(length) > static_cast<uint64_t>(m_nScratchSize)) {
      const uint64_t grown = static_cast<uint64_t>(length) * 3 / 2;
      const int32_t size = grown > INT32_MAX ? INT32_MAX : static_cast<int32_t>(grown);
      std::unique_ptr<uint8_t[]> scratch(new (std::nothrow) uint8_t[size]);
      if (!scratch) {
        // Without room to carry the frame over it cannot be kept.
        PopLocked(nullptr, nullptr);
        continue;
      }
      m_pScratch = std::move(scratch);
      m_nScratchSize = size;
    }
    QueueFrameHead head;
    PopLocked(&head, m_pScratch.get());
    CopyIn(m_pScratch.get(), head.nLength);
    PushHead(head);
  }
  while (m_nFrameNum > n && m_nFrameNum > 0) {
    PopLocked(nullptr, nullptr);
  }
}

int CFrameQueue::Resize(uint32_t maxFrames, uint32_t bytes) {
  CAutoLock lock(&m_lock);
  const uint32_t used = m_nCapacity - m_nFreeBytes;
  const uint32_t underWay = m_nPartialMissing != 0 ? 1 : 0;
  if (static_cast<uint64_t>(bytes) < static_cast<uint64_t>(used) + m_nPartialMissing || maxFrames == UINT32_MAX ||
      static_cast<uint64_t>(maxFrames) < static_cast<uint64_t>(m_nFrameNum) + underWay) {
    return 0;
  }
  std::unique_ptr<uint8_t[]> data(new (std::nothrow) uint8_t[bytes > 0 ? bytes : 1]);
  std::unique_ptr<Slot[]> slots(new (std::nothrow) Slot[maxFrames + 1]);
  if (!data || !slots) {
    return 0;
  }
  LinkSlots(slots.get(), maxFrames + 1);
  const int32_t count = m_nFrameNum;
  uint32_t offset = 0;
  for (int32_t i = 0; i < count; ++i) {
    QueueFrameHead head;
    PopLocked(&head, data.get() + offset);
    slots[i].nType = head.nType;
    slots[i].nLength = head.nLength;
    slots[i].u64Stamp = head.u64Stamp;
    offset += head.nLength;
  }
  // The frame under way starts where the last whole one ended, so it follows them.
  m_nPartialStart = offset;
  CopyOut(data.get() + offset, used - offset);
  m_pData = std::move(data);
  m_pSlots = std::move(slots);
  m_nCapacity = bytes;
  m_nSlotCount = maxFrames + 1;
  m_nReadPos = 0;
  m_nWritePos = bytes > 0 ? used % bytes : 0;
  m_nFreeBytes = bytes - used;
  m_nFrameNum = count;
  m_pReadSlot = &m_pSlots[0];
  m_pWriteSlot = &m_pSlots[static_cast<uint32_t>(count) % m_nSlotCount];
  return 1;
}

}  // namespace zp
