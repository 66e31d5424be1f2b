#pragma once
#include <cstdarg>
#include <cstdint>
#include <memory>
#include <string>

namespace spdlog {
class logger;
}

namespace zp {

// The library's log: one file, levels 0 detail, 1 information, 2 error. Lines below the
// threshold are dropped. Formats are printf-style. Safe to call from any thread; after Close()
// every write is a no-op, so late writers during process exit are harmless.
class CLogFile2 {
 public:
  // directory: where the file goes (created when missing); threshold: lowest level written.
  CLogFile2(std::string directory, int threshold);
  ~CLogFile2();
  CLogFile2(const CLogFile2&) = delete;
  CLogFile2& operator=(const CLogFile2&) = delete;

  // Names the log; the file is <directory>/<name>.log, opened on the first line written.
  void SetLogName(const char* name);
  void WriteStrInfoEx(int level, const char* format, ...) __attribute__((format(printf, 3, 4)));
  void WriteStrInfoV(int level, const char* format, va_list args);
  // Writes title and then len bytes as hex, 16 to a line.
  void WriteHex(int level, const char* title, const void* data, uint32_t len);
  void Close();

  int Threshold() const { return m_nThreshold; }
  // The path of the log file (empty until named).
  std::string FilePath() const;

 private:
  std::shared_ptr<spdlog::logger> Logger();
  void Emit(int level, const char* text);

  std::string m_strDirectory;
  std::string m_strName;
  int m_nThreshold;
  bool m_bClosed = false;
  bool m_bOpenFailed = false;
  std::shared_ptr<spdlog::logger> m_logger;
  struct Guard;
  std::unique_ptr<Guard> m_guard;
};

}  // namespace zp
