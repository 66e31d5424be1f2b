#include "platform/TempFile.h"

#include <stdlib.h>
#include <unistd.h>

#include <vector>

namespace zp::platform {

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

}  // namespace zp::platform
