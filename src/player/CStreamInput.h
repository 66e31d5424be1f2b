#pragma once
#include <cstdint>
#include <memory>

#include "media/CParseData.h"
#include "player/IStreamFrameSink.h"

namespace zp {

// Cuts a live byte stream, pushed in pieces of any size with garbage between frames, into
// frames for a sink, copying each byte once where it can: a frame lying whole in a piece goes
// to the sink from where it lies, and a video frame running past its piece is written into the
// sink's queue as its bytes arrive. Only what cannot go straight on (a cut head, a tail that
// may start a tag, a frame the sink refused and everything after it) goes through a CParseData,
// and comes out of it in the same order, as the same frames.
//
// Not thread-safe: the owner serialises Input and Reset.
class CStreamInput {
 public:
  CStreamInput(IStreamFrameSink* pSink, uint32_t nParseBytes);
  CStreamInput(const CStreamInput&) = delete;
  CStreamInput& operator=(const CStreamInput&) = delete;

  // 0 when the piece was taken (bytes a full sink cannot take are dropped with a log line), -3
  // when nothing of it was kept and the caller should push it again later.
  int Input(const uint8_t* pData, uint32_t nLength);
  // Forgets every byte held and the frame under way.
  void Reset();

 private:
  bool EnsureParser();
  int Drain();
  uint32_t Fill(const uint8_t* pPiece, uint32_t nLength);
  uint32_t Join(const uint8_t* pPiece, uint32_t nLength, int* pResult);
  uint32_t CutInPlace(const uint8_t* pPiece, uint32_t nLength, int* pResult);
  bool Begin(uint32_t nTag, uint64_t u64Stamp, uint32_t nTotal, const uint8_t* pPart, uint32_t nLength);
  int FeedParser(const uint8_t* pData, uint32_t nLength);

  IStreamFrameSink* m_pSink;
  uint32_t m_nParseBytes;
  std::unique_ptr<CParseData> m_pParser;
  uint32_t m_nMissing = 0;  // bytes of the frame under way still to come
  bool m_bSkip = false;     // ... which the sink dropped
};

}  // namespace zp
