#include "platform/ModulePath.h"

#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <filesystem>

namespace zp::platform {

namespace {
void Anchor() {}
}  // namespace

std::string ModuleFilePath() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&Anchor), &info) == 0 || info.dli_fname == nullptr) {
    return {};
  }
  std::error_code ec;
  const auto full = std::filesystem::absolute(info.dli_fname, ec);
  return ec ? std::string(info.dli_fname) : full.string();
}

std::string ExecutableFilePath() {
  char buf[PATH_MAX];
  const ssize_t n = readlink("/proc/self/exe", buf, sizeof(buf) - 1);
  if (n <= 0) {
    return {};
  }
  return std::string(buf, static_cast<size_t>(n));
}

std::string DirectoryOf(const std::string& path) {
  const auto slash = path.find_last_of('/');
  if (slash == std::string::npos) {
    return "./";
  }
  return path.substr(0, slash + 1);
}

std::string FullDirectoryPath(const std::string& base, const std::string& relative) {
  std::filesystem::path joined = std::filesystem::path(base) / relative;
  std::string out = joined.lexically_normal().string();
  if (out.empty() || out.back() != '/') {
    out += '/';
  }
  return out;
}

}  // namespace zp::platform
