// CParseData cutting a stream into frames, next to memcpy of the same pieces into a buffer of the
// parser's size: the stream is fed in 16 KiB pieces into a 307200-byte parser, as the stream
// player does, and the parser copies every byte once.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "media/CParseData.h"

namespace {

constexpr size_t kStreamBytes = 32u << 20;
constexpr size_t kPiece = 16384;
constexpr uint32_t kParseBuffer = 307200;

std::vector<uint8_t> RandomBytes(size_t n, uint32_t seed) {
  std::mt19937_64 rng(seed);
  std::vector<uint8_t> out(n);
  for (size_t i = 0; i + 8 <= n; i += 8) {
    const uint64_t v = rng();
    std::memcpy(&out[i], &v, 8);
  }
  return out;
}

// 4 KiB video frames (32-byte header + 4064 payload bytes) back to back.
const std::vector<uint8_t>& FrameStream() {
  static const std::vector<uint8_t> stream = [] {
    std::vector<uint8_t> bytes = RandomBytes(kStreamBytes, 1);
    uint64_t stamp = 0;
    for (size_t at = 0; at + 4096 <= bytes.size(); at += 4096) {
      uint8_t head[zp::kMaxHeadLength];
      zp::WriteFrameHeader(head, at % (25 * 4096) == 0 ? zp::FRAME_TAG_I : zp::FRAME_TAG_P, 4096 - 32, stamp += 40000);
      std::memcpy(&bytes[at], head, 32);
    }
    return bytes;
  }();
  return stream;
}

const std::vector<uint8_t>& Garbage() {
  static const std::vector<uint8_t> garbage = RandomBytes(kStreamBytes, 2);
  return garbage;
}

void Parse(benchmark::State& state, const std::vector<uint8_t>& bytes) {
  zp::CParseData parser;
  parser.SetBufferSize(kParseBuffer);
  uint64_t frames = 0;
  for (auto _ : state) {
    parser.Reset();
    for (size_t at = 0; at < bytes.size(); at += kPiece) {
      if (parser.InputData(bytes.data() + at, static_cast<uint32_t>(kPiece)) != 0) {
        parser.Reset();  // a length field read from garbage blocked the stream
        continue;
      }
      while (zp::StreamFrame* frame = parser.GetFrame()) {
        benchmark::DoNotOptimize(frame->pData);
        ++frames;
        parser.ReleaseFrame(frame);
      }
      parser.Compact();
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
  state.counters["frames"] = benchmark::Counter(static_cast<double>(frames), benchmark::Counter::kAvgIterations);
}

// The same pieces copied one after another into a buffer of the parser's size, starting over
// where the next one would not fit: the one copy the parser makes of every byte, and nothing else.
void CopyPieces(benchmark::State& state, const std::vector<uint8_t>& bytes) {
  std::vector<uint8_t> buffer(kParseBuffer);
  size_t pos = 0;
  for (auto _ : state) {
    for (size_t at = 0; at < bytes.size(); at += kPiece) {
      pos = pos + kPiece > buffer.size() ? 0 : pos;
      std::memcpy(buffer.data() + pos, bytes.data() + at, kPiece);
      benchmark::ClobberMemory();
      pos += kPiece;
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}

void BM_ParseFrames4K(benchmark::State& state) { Parse(state, FrameStream()); }
void BM_CopyFrames4K(benchmark::State& state) { CopyPieces(state, FrameStream()); }
void BM_ParseGarbage(benchmark::State& state) { Parse(state, Garbage()); }
void BM_CopyGarbage(benchmark::State& state) { CopyPieces(state, Garbage()); }

}  // namespace

BENCHMARK(BM_ParseFrames4K)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CopyFrames4K)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseGarbage)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CopyGarbage)->Unit(benchmark::kMillisecond);
