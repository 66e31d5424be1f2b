#pragma once
// A per-process scratch file for the file fuzzers.
#include <unistd.h>

#include <cstdio>
#include <string>

#include "platform/TempFile.h"

namespace fuzzmedia {

inline std::string ScratchPath(const char* suffix) {
  return zp::platform::TempDirectory() + "zpfuzz-" + std::to_string(getpid()) + suffix;
}

inline bool WriteScratch(const std::string& path, const uint8_t* data, size_t size) {
  std::FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) {
    return false;
  }
  const bool ok = std::fwrite(data, 1, size, f) == size;
  return std::fclose(f) == 0 && ok;
}

}  // namespace fuzzmedia
