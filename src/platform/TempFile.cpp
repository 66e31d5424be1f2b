#include "platform/TempFile.h"

#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <mutex>
#include <set>
#include <vector>

namespace zp::platform {

namespace {

struct UnloadList {
  std::mutex mutex;
  std::set<std::string> paths;
};

// Never destroyed: the unload hook may run after static destructors.
UnloadList& Pending() {
  static auto* list = new UnloadList();
  return *list;
}

}  // namespace

std::string TempDirectory() {
  const char* dir = getenv("TMPDIR");
  std::string out = (dir != nullptr && *dir != '\0') ? dir : "/tmp";
  if (out.back() != '/') {
    out += '/';
  }
  return out;
}

std::string CreateTempFile(const std::string& prefix) {
  std::string pattern = TempDirectory() + prefix + "XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  const int fd = mkstemp(name.data());
  if (fd < 0) {
    return {};
  }
  close(fd);
  return std::string(name.data());
}

void RemoveAtUnload(const std::string& path) {
  UnloadList& list = Pending();
  std::lock_guard<std::mutex> lock(list.mutex);
  list.paths.insert(path);
}

void RemoveTempFile(const std::string& path) {
  UnloadList& list = Pending();
  std::lock_guard<std::mutex> lock(list.mutex);
  list.paths.erase(path);
  ::remove(path.c_str());
}

void RemoveTempFilesAtUnload() {
  UnloadList& list = Pending();
  std::lock_guard<std::mutex> lock(list.mutex);
  for (const std::string& path : list.paths) {
    ::remove(path.c_str());
  }
  list.paths.clear();
}

}  // namespace zp::platform
