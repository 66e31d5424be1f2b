// Reading every frame of a 256 MiB GREC recording from a warm page cache, next to read() of the
// same file in 512000-byte blocks; and SeekTime on a one-hour recording with an index, next to
// one positioned 32-byte read. The recordings are written once per run into $TMPDIR.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "media/CFileH264.h"
#include "media/CRecWriterGrec.h"
#include "platform/TempFile.h"

namespace {

struct Recording {
  std::string path;
  uint64_t frames = 0;
  uint32_t milliseconds = 0;
  ~Recording() { std::remove(path.c_str()); }
};

// 25 frames a second, a key frame every second, payloads of minLength..maxLength bytes, until
// `bytes` or `seconds` is reached.
void Write(Recording* rec, const char* name, uint64_t bytes, uint32_t seconds, uint32_t minLength, uint32_t maxLength) {
  rec->path = zp::platform::TempDirectory() + name + std::to_string(getpid()) + ".grec";
  std::mt19937 rng(3);
  std::vector<uint8_t> payload(maxLength);
  for (auto& b : payload) {
    b = static_cast<uint8_t>(rng());
  }
  zp::CRecWriterGrec writer;
  writer.OpenWriter(rec->path.c_str(), zp::CRecWriter::kNarrowPath);
  uint32_t next = 0;
  for (uint64_t i = 0; next < bytes && i < uint64_t{seconds} * 25; ++i) {
    const uint32_t length = minLength + rng() % (maxLength - minLength + 1);
    writer.WriteFrame(payload.data(), length, i % 25 == 0 ? zp::FRAME_TAG_I : zp::FRAME_TAG_P, i * 40000, nullptr, &next);
    ++rec->frames;
  }
  writer.CloseWriter();
  rec->milliseconds = static_cast<uint32_t>((rec->frames - 1) / 25 * 1000);
}

const Recording& Big() {
  static Recording rec;
  if (rec.path.empty()) {
    Write(&rec, "zpbench-big-", 256u << 20, 1000000, 4096, 65536);
  }
  return rec;
}

const Recording& Hour() {
  static Recording rec;
  if (rec.path.empty()) {
    Write(&rec, "zpbench-hour-", UINT32_MAX, 3600, 16, 256);
  }
  return rec;
}

void BM_ReadEveryFrame(benchmark::State& state) {
  const Recording& rec = Big();
  zp::CFileH264 reader;
  if (reader.OpenFile(rec.path.c_str()) != 0) {
    state.SkipWithError("open failed");
    return;
  }
  uint64_t bytes = 0;
  uint64_t frames = 0;
  for (auto _ : state) {
    reader.SeekToBegin();
    zp::FrameHead* frame = nullptr;
    while (reader.ReadFrame(&frame) == 0) {
      bytes += frame->nLength;
      ++frames;
      reader.ReleaseFrame(frame);
    }
  }
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
  state.counters["frames"] = benchmark::Counter(static_cast<double>(frames), benchmark::Counter::kAvgIterations);
  state.counters["written"] = static_cast<double>(rec.frames);
}

void BM_PlainRead(benchmark::State& state) {
  const Recording& rec = Big();
  std::vector<uint8_t> buffer(512000);
  uint64_t bytes = 0;
  for (auto _ : state) {
    const int fd = open(rec.path.c_str(), O_RDONLY);
    ssize_t got = 0;
    while ((got = read(fd, buffer.data(), buffer.size())) > 0) {
      bytes += static_cast<uint64_t>(got);
    }
    close(fd);
  }
  state.SetBytesProcessed(static_cast<int64_t>(bytes));
}

void BM_SeekTimeOneHour(benchmark::State& state) {
  const Recording& rec = Hour();
  zp::CFileH264 reader;
  if (reader.OpenFile(rec.path.c_str()) != 0) {
    state.SkipWithError("open failed");
    return;
  }
  std::mt19937 rng(9);
  for (auto _ : state) {
    benchmark::DoNotOptimize(reader.SeekTime(static_cast<int32_t>(rng() % rec.milliseconds), 0));
  }
  state.counters["frames"] = static_cast<double>(rec.frames);
}

// SeekTime followed by the first frame read there: what a player does after a seek.
void BM_SeekTimeAndReadOneHour(benchmark::State& state) {
  const Recording& rec = Hour();
  zp::CFileH264 reader;
  if (reader.OpenFile(rec.path.c_str()) != 0) {
    state.SkipWithError("open failed");
    return;
  }
  std::mt19937 rng(9);
  zp::FrameHead* frame = nullptr;
  for (auto _ : state) {
    reader.SeekTime(static_cast<int32_t>(rng() % rec.milliseconds), 0);
    if (reader.ReadFrame(&frame) == 0) {
      reader.ReleaseFrame(frame);
    }
  }
}

void BM_PositionedRead32(benchmark::State& state) {
  const Recording& rec = Hour();
  std::FILE* f = std::fopen(rec.path.c_str(), "rb");
  std::mt19937 rng(9);
  uint8_t head[32];
  for (auto _ : state) {
    std::fseek(f, 512 + static_cast<long>(rng() % 1000000), SEEK_SET);
    benchmark::DoNotOptimize(std::fread(head, 1, sizeof head, f));
  }
  std::fclose(f);
}

}  // namespace

BENCHMARK(BM_PlainRead)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ReadEveryFrame)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_PlainRead)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_SeekTimeOneHour)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SeekTimeAndReadOneHour)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PositionedRead32)->Unit(benchmark::kMicrosecond);
