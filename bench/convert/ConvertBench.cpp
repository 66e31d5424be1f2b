// zephplay convert of a ten-minute 1080p25 GREC recording (H.264, a key frame a second) into MP4,
// against cp of the same file on the same disk: each iteration copies with cp, then converts,
// both as child processes, the disk's dirty pages written out (sync) before each. The recording,
// with G.711 sound (the sample maker's default) or without, is made once (1500 pictures written
// ten times over) and kept in BENCH_DATA_DIR for later runs. `zephplay --version` runs in each
// iteration too: the time the program takes to start and end, loading libzephplay and the
// libraries it needs, is part of every conversion and none of cp's.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

extern char** environ;

namespace {

const std::string kDir = BENCH_DATA_DIR;

struct Cost {
  double wall = 0;
  double cpu = 0;  // user and system time of the child
};

double ChildrenCpu() {
  rusage usage{};
  getrusage(RUSAGE_CHILDREN, &usage);
  const auto seconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) + t.tv_usec / 1e6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// Runs args to their end with stdout discarded; false when the program failed.
bool Run(const std::vector<std::string>& args, Cost* cost) {
  std::vector<char*> argv;
  for (const std::string& a : args) {
    argv.push_back(const_cast<char*>(a.c_str()));
  }
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  const double cpuBefore = ChildrenCpu();
  const auto start = std::chrono::steady_clock::now();
  pid_t pid = 0;
  int status = -1;
  const bool spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  if (spawned) {
    waitpid(pid, &status, 0);
  }
  cost->wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  cost->cpu = ChildrenCpu() - cpuBefore;
  return spawned && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

uint64_t FileSize(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 ? static_cast<uint64_t>(st.st_size) : 0;
}

// The recording's path, made on first use; empty when the sample maker failed.
std::string Recording(bool sound) {
  const std::string path = kDir + (sound ? "/convert-1080p-10min.grec" : "/convert-1080p-10min-silent.grec");
  if (FileSize(path) > 0) {
    return path;
  }
  Cost cost;
  const bool made = Run({"mkdir", "-p", kDir}, &cost) &&
                    Run({SAMPLEMAKER_PATH, "-f", "grec", "--size", "1920x1080", "--frames", "1500", "--repeat", "10",
                         "--audio", sound ? "g711a" : "none", "-o", path},
                        &cost);
  return made ? path : "";
}

void BM_ConvertAgainstCp(benchmark::State& state) {
  const std::string in = Recording(state.range(0) != 0);
  if (in.empty()) {
    state.SkipWithError("the sample maker could not make the recording");
    return;
  }
  const std::string copy = kDir + "/cp-copy.grec";
  const std::string mp4 = kDir + "/convert-copy.mp4";
  Cost cp;
  Cost convert;
  Cost start;
  for (auto _ : state) {
    Cost c;
    if (!Run({ZEPHPLAY_PATH, "--version"}, &c)) {
      state.SkipWithError("zephplay --version failed");
      return;
    }
    start.wall += c.wall;
    std::remove(copy.c_str());
    std::remove(mp4.c_str());
    sync();
    if (!Run({"cp", in, copy}, &c)) {
      state.SkipWithError("cp failed");
      return;
    }
    cp.wall += c.wall;
    cp.cpu += c.cpu;
    sync();
    if (!Run({ZEPHPLAY_PATH, "convert", in, mp4}, &c)) {
      state.SkipWithError("zephplay convert failed");
      return;
    }
    convert.wall += c.wall;
    convert.cpu += c.cpu;
    state.SetIterationTime(c.wall);
  }
  const double n = static_cast<double>(state.iterations());
  state.counters["cp_wall_s"] = cp.wall / n;
  state.counters["convert_wall_s"] = convert.wall / n;
  state.counters["start_wall_s"] = start.wall / n;
  state.counters["cp_cpu_s"] = cp.cpu / n;
  state.counters["convert_cpu_s"] = convert.cpu / n;
  state.counters["ratio_wall"] = cp.wall / convert.wall;
  state.counters["ratio_cpu"] = cp.cpu / convert.cpu;
  state.SetBytesProcessed(static_cast<int64_t>(FileSize(in) * state.iterations()));
  std::remove(copy.c_str());
  std::remove(mp4.c_str());
}

}  // namespace

BENCHMARK(BM_ConvertAgainstCp)->ArgName("sound")->Arg(1)->Arg(0)->UseManualTime()->Iterations(3)->Unit(
    benchmark::kSecond);
