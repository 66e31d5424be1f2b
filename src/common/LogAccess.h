#pragma once
#include <string>

#include "common/CLogFile2.h"

namespace zp {

inline constexpr const char* kLogName = "libzephplay";

// The process-wide log. With create set it is made on first use (named "libzephplay", in
// LogDirectory(), at LogThreshold()); with create clear it is null until then. It lives until
// process exit.
CLogFile2* LogFile(bool create);

// Where the log goes: $ZEPHPLAY_LOG_DIR, else the directory given to SetConfiguredLogDirectory,
// else $XDG_STATE_HOME/zephplay, else ~/.local/state/zephplay.
std::string LogDirectory();
// Lowest level written: $ZEPHPLAY_LOG_LEVEL, else the configured level, else 1.
int LogThreshold();
// Values from the configuration file, set at load before the log is made ("" / -1: none).
void SetConfiguredLogDirectory(const std::string& dir);
void SetConfiguredLogLevel(int level);

void LogDetail(const char* format, ...) __attribute__((format(printf, 1, 2)));
void LogInfo(const char* format, ...) __attribute__((format(printf, 1, 2)));
void LogError(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace zp
