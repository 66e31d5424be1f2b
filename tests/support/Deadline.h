#pragma once
// Waits that end at a deadline, so that no test can hang, and whole-file reads.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

namespace zp::test {

// True once done() holds; false when limit passes first.
template <class Done>
bool WaitUntil(Done done, std::chrono::milliseconds limit = std::chrono::seconds(30)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() > end) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

// work() on a thread of its own; a deadlock fails the test and ends the program, which could not
// go on beside the stuck thread.
template <class Work>
auto RunWithDeadline(const char* what, Work work, std::chrono::seconds limit = std::chrono::seconds(120)) {
  auto run = std::async(std::launch::async, work);
  if (run.wait_for(limit) != std::future_status::ready) {
    ADD_FAILURE() << what << " did not finish in time";
    std::_Exit(1);
  }
  return run.get();
}

// A file's bytes (empty when it cannot be read).
inline std::vector<uint8_t> ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline std::string ReadText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace zp::test
