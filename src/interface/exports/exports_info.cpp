#include <cstring>
#include <string>

#include "common/CLibraryConfig.h"
#include "common/Settings.h"
#include "interface/exports/ExportSupport.h"

using zp::Settings;

namespace {

template <size_t N>
void CopyText(char (&dest)[N], const std::string& text) {
  const size_t n = text.size() < N - 1 ? text.size() : N - 1;
  std::memcpy(dest, text.data(), n);
  dest[n] = '\0';
}

}  // namespace

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetLibraryInfo(ZEPHPLAY_LIBRARY_INFO* info) {
  if (info == nullptr || info->nSize < sizeof(ZEPHPLAY_LIBRARY_INFO)) {
    return -1;
  }
  return zp::Guarded("ZEPHPLAY_GetLibraryInfo", [info] {
    zp::CLibraryConfig& config = zp::CLibraryConfig::Instance();
    zp::CLogFile2* log = zp::LogFile(true);
    CopyText(info->szVersion, ZEPHPLAY_VERSION_STRING);
    CopyText(info->szLibraryPath, config.LibraryPath());
    CopyText(info->szConfigPath, config.LibraryIniPath());
    CopyText(info->szAppDirectory, config.AppDirectory());
    CopyText(info->szLogPath, log != nullptr ? log->FilePath() : std::string());
    info->nLogLevel = log != nullptr ? log->Threshold() : zp::LogThreshold();
    info->nFixedDecoderH264 = Settings::nFixedDecoder.load(std::memory_order_relaxed);
    info->nDefaultAudioCoder = config.DefaultAudioCoder();
    info->nVideoMinDelay = config.VideoMinDelay();
    info->nVideoMaxDelay = config.VideoMaxDelay();
    info->nVideoDelayEnable = config.VideoDelayEnable();
    info->nWriteFile = config.WriteFile();
    info->nWaterEnable = Settings::nWaterEnable.load(std::memory_order_relaxed);
    info->dAudioGain = Settings::dAudioGain.load(std::memory_order_relaxed);
    info->nAecParam1 = Settings::nAecParam1.load(std::memory_order_relaxed);
    info->nAecParam2 = Settings::nAecParam2.load(std::memory_order_relaxed);
    info->nUseSpeex = Settings::nUseSpeex.load(std::memory_order_relaxed);
    info->nUseDXVA2 = Settings::nUseDXVA2.load(std::memory_order_relaxed);
    return 0;
  });
}

}  // extern "C"
