#include "common/CLogFile2.h"

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <mutex>

namespace zp {

struct CLogFile2::Guard {
  std::mutex mutex;
};

namespace {

spdlog::level::level_enum ToSpd(int level) {
  if (level <= 0) {
    return spdlog::level::debug;
  }
  return level == 1 ? spdlog::level::info : spdlog::level::err;
}

}  // namespace

CLogFile2::CLogFile2(std::string directory, int threshold)
    : m_strDirectory(std::move(directory)), m_nThreshold(threshold), m_guard(std::make_unique<Guard>()) {}

CLogFile2::~CLogFile2() { Close(); }

void CLogFile2::SetLogName(const char* name) {
  std::lock_guard<std::mutex> lock(m_guard->mutex);
  m_strName = name != nullptr ? name : "";
  m_logger.reset();
  m_bOpenFailed = false;
}

std::string CLogFile2::FilePath() const {
  if (m_strName.empty()) {
    return {};
  }
  return (std::filesystem::path(m_strDirectory) / (m_strName + ".log")).string();
}

std::shared_ptr<spdlog::logger> CLogFile2::Logger() {
  std::lock_guard<std::mutex> lock(m_guard->mutex);
  if (m_logger || m_bClosed || m_bOpenFailed || m_strName.empty()) {
    return m_logger;
  }
  try {
    std::error_code ec;
    std::filesystem::create_directories(m_strDirectory, ec);
    auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(FilePath(), false);
    auto logger = std::make_shared<spdlog::logger>(m_strName, std::move(sink));
    logger->set_pattern("[%Y-%m-%d %H:%M:%S.%e] [%l] [%t] %v");
    logger->set_level(spdlog::level::trace);
    // Every line reaches the file at once: the last lines before a crash are the ones wanted.
    logger->flush_on(spdlog::level::trace);
    m_logger = std::move(logger);
  } catch (const std::exception&) {
    // An unwritable log directory must never stop playback: the log stays silent.
    m_bOpenFailed = true;
  }
  return m_logger;
}

void CLogFile2::Emit(int level, const char* text) {
  auto logger = Logger();
  if (!logger) {
    return;
  }
  try {
    logger->log(ToSpd(level), "{}", text);
  } catch (const std::exception&) {
  }
}

void CLogFile2::WriteStrInfoV(int level, const char* format, va_list args) {
  if (level < m_nThreshold || format == nullptr) {
    return;
  }
  char line[2048];
  vsnprintf(line, sizeof(line), format, args);
  Emit(level, line);
}

void CLogFile2::WriteStrInfoEx(int level, const char* format, ...) {
  va_list args;
  va_start(args, format);
  WriteStrInfoV(level, format, args);
  va_end(args);
}

void CLogFile2::WriteHex(int level, const char* title, const void* data, uint32_t len) {
  if (level < m_nThreshold) {
    return;
  }
  Emit(level, title != nullptr ? title : "");
  if (data == nullptr) {
    return;
  }
  const auto* bytes = static_cast<const uint8_t*>(data);
  char line[16 * 3 + 1];
  for (uint32_t row = 0; row < len; row += 16) {
    int pos = 0;
    for (uint32_t i = row; i < len && i < row + 16; ++i) {
      pos += snprintf(line + pos, sizeof(line) - static_cast<size_t>(pos), "%02X ", bytes[i]);
    }
    line[pos > 0 ? pos - 1 : 0] = '\0';
    Emit(level, line);
  }
}

void CLogFile2::Close() {
  std::lock_guard<std::mutex> lock(m_guard->mutex);
  m_bClosed = true;
  if (m_logger) {
    try {
      m_logger->flush();
    } catch (const std::exception&) {
    }
  }
  m_logger.reset();
}

}  // namespace zp
