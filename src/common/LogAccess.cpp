#include "common/LogAccess.h"

#include <atomic>
#include <cstdarg>
#include <cstdlib>
#include <mutex>

namespace zp {

namespace {

std::atomic<CLogFile2*> g_log{nullptr};
std::mutex g_createMutex;
// Function-local: the load hook runs before this file's own static constructors may have.
std::string& ConfiguredDir() {
  static std::string dir;
  return dir;
}
std::atomic<int> g_configuredLevel{-1};

int ParseLevel(const char* text, int fallback) {
  if (text == nullptr || *text == '\0') {
    return fallback;
  }
  char* end = nullptr;
  const long v = std::strtol(text, &end, 10);
  if (end == text) {
    return fallback;
  }
  return v < 0 ? 0 : (v > 2 ? 2 : static_cast<int>(v));
}

void Write(int level, const char* format, va_list args) {
  CLogFile2* log = LogFile(true);
  if (log != nullptr) {
    log->WriteStrInfoV(level, format, args);
  }
}

}  // namespace

std::string LogDirectory() {
  const char* env = std::getenv("ZEPHPLAY_LOG_DIR");
  if (env != nullptr && *env != '\0') {
    return env;
  }
  if (!ConfiguredDir().empty()) {
    return ConfiguredDir();
  }
  const char* state = std::getenv("XDG_STATE_HOME");
  if (state != nullptr && *state != '\0') {
    return std::string(state) + "/zephplay";
  }
  const char* home = std::getenv("HOME");
  return std::string(home != nullptr ? home : ".") + "/.local/state/zephplay";
}

int LogThreshold() {
  const int level = g_configuredLevel.load();
  const int configured = level >= 0 ? level : 1;
  return ParseLevel(std::getenv("ZEPHPLAY_LOG_LEVEL"), configured);
}

void SetConfiguredLogDirectory(const std::string& dir) { ConfiguredDir() = dir; }

void SetConfiguredLogLevel(int level) { g_configuredLevel = level; }

CLogFile2* LogFile(bool create) {
  CLogFile2* log = g_log.load(std::memory_order_acquire);
  if (log != nullptr || !create) {
    return log;
  }
  std::lock_guard<std::mutex> lock(g_createMutex);
  log = g_log.load(std::memory_order_acquire);
  if (log == nullptr) {
    // Never deleted: threads still running while the process exits may write to a closed log.
    log = new CLogFile2(LogDirectory(), LogThreshold());
    log->SetLogName(kLogName);
    g_log.store(log, std::memory_order_release);
  }
  return log;
}

void LogDetail(const char* format, ...) {
  va_list args;
  va_start(args, format);
  Write(0, format, args);
  va_end(args);
}

void LogInfo(const char* format, ...) {
  va_list args;
  va_start(args, format);
  Write(1, format, args);
  va_end(args);
}

void LogError(const char* format, ...) {
  va_list args;
  va_start(args, format);
  Write(2, format, args);
  va_end(args);
}

}  // namespace zp
