#include <cmath>
#include <cstring>

#include "common/CLibraryConfig.h"
#include "common/Settings.h"
#include "interface/exports/ExportSupport.h"
#include "platform/ProcessLimits.h"

using zp::Settings;

extern "C" {

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_Initialize(void) {
  zp::platform::RaiseOpenFileLimit(2048);
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_UnInitialize(void) { return 0; }

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetWaterEable(int32_t enable) {
  Settings::nWaterEnable.store(enable, std::memory_order_relaxed);
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetAudioGain(double gain) {
  Settings::dAudioGain.store(Settings::ClampAudioGain(gain), std::memory_order_relaxed);
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetAecParam(int32_t param1, int32_t param2) {
  Settings::nAecParam1.store(param1, std::memory_order_relaxed);
  Settings::nAecParam2.store(param2, std::memory_order_relaxed);
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetUseSpeex(int32_t use) {
  Settings::nUseSpeex.store(use, std::memory_order_relaxed);
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetUseDXVA2(int32_t use) {
  Settings::nUseDXVA2.store(use, std::memory_order_relaxed);
  return 0;
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetDDrawParam(int32_t) { return 0; }

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenPlayHandle(ZEPHPLAY_PLAYHANDLE** handle) {
  return zp::OpenPlayHandle(reinterpret_cast<zp::PlayHandle**>(handle));
}

ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ClosePlayHandle(ZEPHPLAY_PLAYHANDLE* handle) {
  return zp::ClosePlayHandle(zp::ToRecord(handle));
}

}  // extern "C"
