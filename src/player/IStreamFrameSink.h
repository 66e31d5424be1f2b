#pragma once
#include <cstdint>

namespace zp {

// Where CStreamInput hands the frames it cuts. Called on the feeding thread, under the lock
// that serialises the feeder; the pointers live for the call only.
class IStreamFrameSink {
 public:
  virtual ~IStreamFrameSink() = default;

  // A whole frame of the parser's tag, its payload in two parts (the second may be empty).
  // 0 when taken, or dropped for good (a frame before the first key frame, an unknown kind);
  // otherwise refused, and it is offered again later. Without bGrow the offer is a try: a full
  // queue refuses at once, neither growing nor logging, and any frame may be refused.
  virtual int PutFrame(uint32_t nTag, uint64_t u64Stamp, const uint8_t* pPart1, uint32_t nLength1,
                       const uint8_t* pPart2, uint32_t nLength2, bool bGrow) = 0;
  // A try at a frame of nTotal payload bytes of which the first nLength (fewer than all) are at
  // hand: 1 when it is under way and its other bytes follow through AppendFrame, 0 when it is
  // dropped for good (the feeder skips its other bytes), -1 when refused.
  virtual int BeginFrame(uint32_t nTag, uint64_t u64Stamp, uint32_t nTotal, const uint8_t* pPart,
                         uint32_t nLength) = 0;
  // The next bytes of the frame under way; false when it was dropped meanwhile (the feeder
  // skips the rest of it).
  virtual bool AppendFrame(const uint8_t* pPart, uint32_t nLength) = 0;
};

}  // namespace zp
