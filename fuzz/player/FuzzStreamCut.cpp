// CStreamInput fed arbitrary bytes in arbitrary pieces, with tries refused at random, gives
// exactly the frames that a CParseData of the same size gives when every byte goes through it
// (the input path as it was before frames were cut in place).
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "player/CStreamInput.h"

namespace {

struct Frame {
  uint32_t tag;
  uint64_t stamp;
  std::vector<uint8_t> data;
  bool operator==(const Frame&) const = default;
};

void Check(bool ok) {
  if (!ok) {
    std::abort();
  }
}

uint32_t Next(uint32_t* seed) {
  *seed = *seed * 1103515245u + 12345u;
  return *seed >> 16;
}

class Sink : public zp::IStreamFrameSink {
 public:
  explicit Sink(uint32_t seed) : m_seed(seed) {}
  int PutFrame(uint32_t tag, uint64_t stamp, const uint8_t* p1, uint32_t n1, const uint8_t* p2, uint32_t n2,
               bool grow) override {
    if (!grow && Next(&m_seed) % 3 == 0) {
      return -3;
    }
    frames.push_back({tag, stamp, {p1, p1 + n1}});
    frames.back().data.insert(frames.back().data.end(), p2, p2 + n2);
    return 0;
  }
  int BeginFrame(uint32_t tag, uint64_t stamp, uint32_t total, const uint8_t* part, uint32_t n) override {
    if (Next(&m_seed) % 3 == 0) {
      return -1;
    }
    Check(n < total);
    frames.push_back({tag, stamp, {part, part + n}});
    m_missing = total - n;
    return 1;
  }
  bool AppendFrame(const uint8_t* part, uint32_t n) override {
    Check(n <= m_missing);
    m_missing -= n;
    frames.back().data.insert(frames.back().data.end(), part, part + n);
    return true;
  }
  std::vector<Frame> frames;
  uint32_t m_missing = 0;

 private:
  uint32_t m_seed;
};

// Every byte through the parser, fed what fits at a time; a frame larger than the buffer is
// dropped by starting afresh.
void ParseAll(zp::CParseData* parser, const uint8_t* data, uint32_t n, std::vector<Frame>* out) {
  uint32_t at = 0;
  while (at < n) {
    const auto room = static_cast<uint32_t>(parser->GetFreeSize());
    if (room == 0) {
      parser->Reset();
      continue;
    }
    const uint32_t piece = std::min(room, n - at);
    parser->InputData(data + at, piece);
    at += piece;
    while (zp::StreamFrame* f = parser->GetFrame()) {
      out->push_back({f->nTag, f->u64Stamp, {f->pData, f->pData + f->nLength}});
      parser->ReleaseFrame(f);
    }
    parser->Compact();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) {
    return 0;
  }
  // The first byte picks the buffer size, the second seeds the piece lengths and refusals.
  const uint32_t capacity = 64u << (data[0] % 8);
  uint32_t seed = data[1] | 1u;
  data += 2;
  size -= 2;
  Sink sink(seed);
  zp::CStreamInput input(&sink, capacity);
  zp::CParseData parser;
  parser.SetBufferSize(capacity);
  std::vector<Frame> expected;
  size_t at = 0;
  while (at < size) {
    const auto piece = static_cast<uint32_t>(std::min<size_t>(size - at, 1 + Next(&seed) % (capacity + 7)));
    Check(input.Input(data + at, piece) == 0);
    ParseAll(&parser, data + at, piece, &expected);
    at += piece;
  }
  if (sink.m_missing != 0) {
    sink.frames.pop_back();  // unfinished: the parser alone has not given it either
  }
  Check(sink.frames == expected);
  return 0;
}
