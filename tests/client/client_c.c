/* A plain C99 client: the header must compile as C and the basic calls must behave. */
#include <stdio.h>
#include <string.h>

#include "zephplay.h"

#define CHECK(cond)                                       \
  do {                                                    \
    if (!(cond)) {                                        \
      fprintf(stderr, "%s:%d: %s\n", __FILE__, __LINE__, #cond); \
      return 1;                                           \
    }                                                     \
  } while (0)

int main(void) {
  ZEPHPLAY_PLAYHANDLE* handle = NULL;
  ZEPHPLAY_LIBRARY_INFO info;
  CHECK(ZEPHPLAY_Initialize() == 0);
  CHECK(ZEPHPLAY_OpenPlayHandle(&handle) == 0);
  CHECK(handle != NULL);
  CHECK(ZEPHPLAY_ClosePlayHandle(handle) == 0);
  CHECK(ZEPHPLAY_ClosePlayHandle(NULL) == -1);
  memset(&info, 0, sizeof(info));
  info.nSize = sizeof(info);
  CHECK(ZEPHPLAY_GetLibraryInfo(&info) == 0);
  CHECK(strlen(info.szVersion) > 0);
  CHECK(ZEPHPLAY_UnInitialize() == 0);
  printf("C client ok, library %s\n", info.szVersion);
  return 0;
}
