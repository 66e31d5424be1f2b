// CParseData cutting a stream into frames, next to memchr scanning the same bytes: the stream is
// fed in 16 KiB pieces into a 307200-byte parser, as the stream player does.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "media/CParseData.h"

namespace {

constexpr size_t kStreamBytes = 32u << 20;
constexpr size_t kPiece = 16384;

// The memchr baseline looks for 0xFF, which the test bytes never hold, so it runs over every
// byte at full speed.
void DropFF(std::vector<uint8_t>* bytes) {
  for (auto& b : *bytes) {
    b = b == 0xFF ? 0xFE : b;
  }
}

std::vector<uint8_t> RandomBytes(size_t n, uint32_t seed) {
  std::mt19937_64 rng(seed);
  std::vector<uint8_t> out(n);
  for (size_t i = 0; i + 8 <= n; i += 8) {
    const uint64_t v = rng();
    std::memcpy(&out[i], &v, 8);
  }
  DropFF(&out);
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
    DropFF(&bytes);  // may touch stamp bytes, which the parser only passes on
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
  parser.SetBufferSize(307200);
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

// memchr for a byte that does not occur: one pass over every byte, the fastest scan there is.
void Memchr(benchmark::State& state, const std::vector<uint8_t>& bytes) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(std::memchr(bytes.data(), 0xFF, bytes.size()));
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
}

void BM_ParseFrames4K(benchmark::State& state) { Parse(state, FrameStream()); }
void BM_MemchrFrames4K(benchmark::State& state) { Memchr(state, FrameStream()); }
void BM_ParseGarbage(benchmark::State& state) { Parse(state, Garbage()); }
void BM_MemchrGarbage(benchmark::State& state) { Memchr(state, Garbage()); }

}  // namespace

BENCHMARK(BM_ParseFrames4K)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemchrFrames4K)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseGarbage)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MemchrGarbage)->Unit(benchmark::kMillisecond);
