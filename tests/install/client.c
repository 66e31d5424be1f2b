/* Built against an installed libzephplay: prints the library file it loaded. */
#include <stdio.h>
#include <string.h>

#include <zephplay.h>

int main(void) {
  ZEPHPLAY_PLAYHANDLE* handle = NULL;
  ZEPHPLAY_LIBRARY_INFO info;
  memset(&info, 0, sizeof(info));
  info.nSize = sizeof(info);
  if (ZEPHPLAY_OpenPlayHandle(&handle) != 0 || ZEPHPLAY_ClosePlayHandle(handle) != 0 ||
      ZEPHPLAY_GetLibraryInfo(&info) != 0) {
    return 1;
  }
  printf("library %s\n", info.szLibraryPath);
  return 0;
}
