#include "player/CStreamInput.h"

#include <algorithm>
#include <new>

#include "common/LogAccess.h"

namespace zp {

namespace {

const char* const kFn = "CPlayerStream::InputStreamData";
// Bytes added at a time to a cut head or a kept tail in the parser: more than any head, so one
// step settles whether a frame starts there.
constexpr uint32_t kJoinBytes = 64;
// The longest stretch of a piece cut in place at once: its offsets stay within int32_t.
constexpr uint32_t kMaxCut = 1u << 30;

}  // namespace

CStreamInput::CStreamInput(IStreamFrameSink* pSink, uint32_t nParseBytes)
    : m_pSink(pSink), m_nParseBytes(nParseBytes) {}

void CStreamInput::Reset() {
  if (m_pParser != nullptr) {
    m_pParser->Reset();
  }
  m_nMissing = 0;
  m_bSkip = false;
}

bool CStreamInput::EnsureParser() {
  if (m_pParser == nullptr) {
    m_pParser.reset(new (std::nothrow) CParseData());
    if (m_pParser == nullptr) {
      return false;
    }
    m_pParser->SetBufferSize(m_nParseBytes);
  }
  return true;
}

int CStreamInput::Input(const uint8_t* pData, uint32_t nLength) {
  if (!EnsureParser()) {
    return -3;
  }
  if (Drain() != 0) {
    if (m_pParser->IsFull(nLength)) {
      return -3;  // nothing of this piece kept: the caller pushes it again later
    }
    return FeedParser(pData, nLength);  // behind the frame held back, in order
  }
  int result = 0;
  uint32_t at = 0;
  while (at < nLength && result == 0) {
    const uint8_t* piece = pData + at;
    const uint32_t left = nLength - at;
    if (m_nMissing != 0) {
      at += Fill(piece, left);
    } else if (m_pParser->GetHeldSize() != 0) {
      at += Join(piece, left, &result);
    } else {
      at += CutInPlace(piece, left, &result);
    }
  }
  return result;
}

// Non-zero when a frame was held back (the sink refused it); it stays in the parser.
int CStreamInput::Drain() {
  int result = 0;
  while (StreamFrame* frame = m_pParser->GetFrame()) {
    result = m_pSink->PutFrame(frame->nTag, frame->u64Stamp, frame->pData, frame->nLength, nullptr, 0, true);
    if (result != 0) {
      break;
    }
    m_pParser->ReleaseFrame(frame);
  }
  m_pParser->Compact();
  return result;
}

uint32_t CStreamInput::Fill(const uint8_t* pPiece, uint32_t nLength) {
  const uint32_t part = std::min(nLength, m_nMissing);
  if (!m_bSkip && !m_pSink->AppendFrame(pPiece, part)) {
    m_bSkip = true;  // the queue was emptied under it: the rest of the frame goes nowhere
  }
  m_nMissing -= part;
  return part;
}

bool CStreamInput::Begin(uint32_t nTag, uint64_t u64Stamp, uint32_t nTotal, const uint8_t* pPart, uint32_t nLength) {
  const int begun = m_pSink->BeginFrame(nTag, u64Stamp, nTotal, pPart, nLength);
  if (begun < 0) {
    return false;
  }
  m_nMissing = nTotal - nLength;
  m_bSkip = begun == 0;
  return true;
}

// The parser holds the start of something from an earlier piece.
uint32_t CStreamInput::Join(const uint8_t* pPiece, uint32_t nLength, int* pResult) {
  CParseData::PendingFrame pending;
  uint32_t step = std::min(nLength, kJoinBytes);  // a cut head or a kept tail: a few bytes tell
  if (m_pParser->GetPendingFrame(&pending)) {
    if (pending.nMissing > nLength) {
      if (Begin(pending.nTag, pending.u64Stamp, pending.nHeld + pending.nMissing, pending.pHeld, pending.nHeld)) {
        m_pParser->Reset();
        return 0;  // the piece's bytes follow through Fill
      }
      step = nLength;
    } else if (m_pSink->PutFrame(pending.nTag, pending.u64Stamp, pending.pHeld, pending.nHeld, pPiece,
                                 pending.nMissing, false) == 0) {
      m_pParser->Reset();
      return pending.nMissing;
    } else {
      step = pending.nMissing;  // refused: the parser's way grows, logs and holds back
    }
  } else if (static_cast<uint32_t>(m_pParser->GetHeldSize()) > kJoinBytes) {
    step = nLength;  // a frame too large for the parser: dropped there
  }
  if (step > static_cast<uint32_t>(std::max<int32_t>(m_pParser->GetFreeSize(), 0))) {
    *pResult = FeedParser(pPiece, nLength);
    return nLength;
  }
  m_pParser->InputData(pPiece, step);
  if (Drain() != 0) {
    *pResult = FeedParser(pPiece + step, nLength - step);
    return nLength;
  }
  const auto held = static_cast<uint32_t>(m_pParser->GetHeldSize());
  if (held > step) {
    return step;
  }
  // All the parser still holds came from this piece, which is at hand: cut it where it lies.
  m_pParser->Reset();
  return step - held;
}

// The parser holds nothing.
uint32_t CStreamInput::CutInPlace(const uint8_t* pPiece, uint32_t nLength, int* pResult) {
  const auto end = static_cast<int32_t>(std::min(nLength, kMaxCut));
  StreamFrame frame;
  int32_t from = 0;
  const CParseData::Cut cut = CParseData::CutFrame(pPiece, 0, end, &frame, &from);
  const uint64_t size = frame.nPayloadOffset - static_cast<uint64_t>(from) + frame.nLength;
  // A frame the parser could not hold takes its way, which drops it with its log line.
  if (cut != CParseData::Cut::kNone && size <= m_nParseBytes) {
    if (cut == CParseData::Cut::kWhole) {
      if (m_pSink->PutFrame(frame.nTag, frame.u64Stamp, frame.pData, frame.nLength, nullptr, 0, false) == 0) {
        return frame.nPayloadOffset + frame.nLength;
      }
    } else if (Begin(frame.nTag, frame.u64Stamp, frame.nLength, frame.pData, end - frame.nPayloadOffset)) {
      return static_cast<uint32_t>(end);
    }
  }
  const auto at = static_cast<uint32_t>(from);
  *pResult = FeedParser(pPiece + at, nLength - at);
  return nLength;
}

// The parser's way, for the rest of a piece: fed in what fits at a time, so that a piece larger
// than the room left still completes the frame under way.
int CStreamInput::FeedParser(const uint8_t* pData, uint32_t nLength) {
  uint32_t at = 0;
  while (at < nLength) {
    const auto room = static_cast<uint32_t>(std::max<int32_t>(m_pParser->GetFreeSize(), 0));
    if (room == 0) {
      if (Drain() != 0) {
        LogError("%s %u bytes dropped: the queues are full", kFn, nLength - at);
        return 0;
      }
      // Nothing waits downstream, so the parser holds a frame larger than its whole buffer,
      // which would block the stream for good: it is dropped.
      LogError("%s frame larger than %u bytes dropped", kFn, m_nParseBytes);
      m_pParser->Reset();
      if (m_pParser->GetFreeSize() <= 0) {
        return -3;  // the parser has no buffer at all
      }
      continue;
    }
    const uint32_t piece = std::min(room, nLength - at);
    m_pParser->InputData(pData + at, piece);
    at += piece;
    Drain();
  }
  return 0;
}

}  // namespace zp
