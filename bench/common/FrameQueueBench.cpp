// WriteFrame + Pop through one queue on one thread, next to memcpy of the same bytes twice (in
// and out), which is the least any queue that copies must do.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "common/CFrameQueue.h"

namespace {

void BM_FrameQueueWritePop(benchmark::State& state) {
  const auto size = static_cast<uint32_t>(state.range(0));
  zp::CFrameQueue q;
  q.Init(64, size * 8 + 4096);
  std::vector<uint8_t> in(size, 0x5A);
  std::vector<uint8_t> out(size);
  zp::QueueFrameHead head{1, size, 0};
  for (auto _ : state) {
    ++head.u64Stamp;
    q.WriteFrame(head, in.data());
    q.Pop(&head, out.data());
    benchmark::DoNotOptimize(out.data());
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * size);
  state.SetItemsProcessed(state.iterations());
}

void BM_MemcpyInAndOut(benchmark::State& state) {
  const auto size = static_cast<size_t>(state.range(0));
  // A ring of the same size as the queue's, so both touch the same amount of memory.
  std::vector<uint8_t> ring(size * 8 + 4096);
  std::vector<uint8_t> in(size, 0x5A);
  std::vector<uint8_t> out(size);
  size_t pos = 0;
  for (auto _ : state) {
    if (pos + size > ring.size()) {
      pos = 0;
    }
    std::memcpy(ring.data() + pos, in.data(), size);
    benchmark::ClobberMemory();
    std::memcpy(out.data(), ring.data() + pos, size);
    benchmark::DoNotOptimize(out.data());
    pos += size;
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
  state.SetItemsProcessed(state.iterations());
}

}  // namespace

BENCHMARK(BM_FrameQueueWritePop)->Arg(64)->Arg(4096)->Arg(100 * 1024);
BENCHMARK(BM_MemcpyInAndOut)->Arg(64)->Arg(4096)->Arg(100 * 1024);
