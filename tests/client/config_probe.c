/* Loads the library file named on the command line and prints what it loaded, one key=value
 * per line, so that a test can check the load-time configuration as a user's process sees it. */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include "zephplay.h"

typedef int32_t (*GetInfoFn)(ZEPHPLAY_LIBRARY_INFO*);

int main(int argc, char** argv) {
  if (argc < 2) {
    fprintf(stderr, "usage: config_probe LIBRARY\n");
    return 2;
  }
  void* lib = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (lib == NULL) {
    fprintf(stderr, "dlopen: %s\n", dlerror());
    return 1;
  }
  GetInfoFn getInfo = (GetInfoFn)dlsym(lib, "ZEPHPLAY_GetLibraryInfo");
  ZEPHPLAY_LIBRARY_INFO info;
  memset(&info, 0, sizeof(info));
  info.nSize = sizeof(info);
  if (getInfo == NULL || getInfo(&info) != 0) {
    fprintf(stderr, "no library information\n");
    return 1;
  }
  printf("library=%s\nconfig=%s\nappdir=%s\nlog=%s\nloglevel=%d\n", info.szLibraryPath, info.szConfigPath,
         info.szAppDirectory, info.szLogPath, info.nLogLevel);
  printf("H264=%d\nDefaultAudioCoder=%d\nVideoMinDelay=%d\nVideoMaxDelay=%d\nVideoDelayEnable=%d\nWriteFile=%d\n",
         info.nFixedDecoderH264, info.nDefaultAudioCoder, info.nVideoMinDelay, info.nVideoMaxDelay,
         info.nVideoDelayEnable, info.nWriteFile);
  /* Not unloaded: what the library keeps until exit would look leaked once its code is gone. */
  return 0;
}
