#include "interface/exports/ExportSupport.h"
#include "video/KeyFrameToBmp.h"

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_IFrameToBMP(const uint8_t* frame, uint32_t length,
                                                        const char* path) {
  static const char* const kName = "ZEPHPLAY_IFrameToBMP";
  if (frame == nullptr || length == 0 || path == nullptr) {
    return zp::LogResult(kName, -1);
  }
  return zp::LogResult(kName, zp::Guarded(kName, [&]() -> int32_t {
    return zp::SaveKeyFrameAsBmp(frame, length, path) ? 0 : -1;
  }));
}

}  // extern "C"
