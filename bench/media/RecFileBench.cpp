// Reading every frame of a 256 MiB GREC recording from a warm page cache, next to read() of the
// same file in 512000-byte blocks; and SeekTime with the first frame read after it on a one-hour
// recording with an index, next to one positioned read of a frame's worth of bytes. The
// recordings are written once per run into $TMPDIR.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
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

// SeekTime followed by the first frame read there: what a player does after a seek, and the
// least that does any I/O.
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
    if (reader.SeekTime(static_cast<int32_t>(rng() % rec.milliseconds), 0) != 0 || reader.ReadFrame(&frame) != 0) {
      state.SkipWithError("seek or read failed");
      break;
    }
    reader.ReleaseFrame(frame);
  }
  state.counters["frames"] = static_cast<double>(rec.frames);
}

// Baseline: a frame's worth of bytes (the 32-byte head and the largest payload) read with one
// pread at a random place in the same file.
void BM_PositionedReadFrame(benchmark::State& state) {
  const Recording& rec = Hour();
  uint8_t bytes[32 + 256];
  const uint64_t places = std::filesystem::file_size(rec.path) - 512 - sizeof bytes;
  const int fd = open(rec.path.c_str(), O_RDONLY);
  if (fd < 0) {
    state.SkipWithError("open failed");
    return;
  }
  std::mt19937 rng(9);
  for (auto _ : state) {
    const auto at = static_cast<off_t>(512 + rng() % places);
    if (pread(fd, bytes, sizeof bytes, at) != static_cast<ssize_t>(sizeof bytes)) {
      state.SkipWithError("read failed");
      break;
    }
  }
  close(fd);
}

}  // namespace

BENCHMARK(BM_PlainRead)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ReadEveryFrame)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_SeekTimeAndReadOneHour)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PositionedReadFrame)->Unit(benchmark::kMicrosecond);
