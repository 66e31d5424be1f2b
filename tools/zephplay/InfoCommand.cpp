// zephplay [info]       the library's version and the configuration it loaded
// zephplay --version    the version only
#include <cstdio>
#include <cstring>

#include "Commands.h"
#include "zephplay.h"

namespace {

int PrintInfo(bool versionOnly) {
  ZEPHPLAY_LIBRARY_INFO info;
  std::memset(&info, 0, sizeof(info));
  info.nSize = sizeof(info);
  if (ZEPHPLAY_GetLibraryInfo(&info) != 0) {
    std::fprintf(stderr, "zephplay: the library gave no information\n");
    return 1;
  }
  if (versionOnly) {
    std::printf("%s\n", info.szVersion);
    return 0;
  }
  std::printf("libzephplay %s\n", info.szVersion);
  std::printf("library            %s\n", info.szLibraryPath);
  std::printf("configuration      %s\n", info.szConfigPath);
  std::printf("application dir    %s\n", info.szAppDirectory);
  std::printf("log file           %s (level %d)\n", info.szLogPath, info.nLogLevel);
  std::printf("[FixedDecoder] H264          %d\n", info.nFixedDecoderH264);
  std::printf("[CONFIG] DefaultAudioCoder   %d\n", info.nDefaultAudioCoder);
  std::printf("[CONFIG] VideoMinDelay       %d\n", info.nVideoMinDelay);
  std::printf("[CONFIG] VideoMaxDelay       %d\n", info.nVideoMaxDelay);
  std::printf("[CONFIG] VideoDelayEnable    %d\n", info.nVideoDelayEnable);
  std::printf("[CONFIG] WriteFile           %d\n", info.nWriteFile);
  return 0;
}

}  // namespace

int RunInfo(int argc, char** argv) {
  const bool versionOnly = argc > 0 && std::strcmp(argv[0], "--version") == 0;
  if (argc > (versionOnly ? 1 : 0)) {
    std::fprintf(stderr, "usage: zephplay [info | --version]\n");
    return 2;
  }
  return PrintInfo(versionOnly);
}
