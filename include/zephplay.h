/*
 * libzephplay: play, record and exchange the audio and video of vehicle video recorders.
 *
 * Conventions for every export:
 *  - Every function returns a signed 32-bit status: 0 success, -1 failure (null or unsuitable
 *    handle, no player of the required kind, allocation failure, or the operation failed).
 *    Some functions pass through a player's own result (1: already so / nothing known yet).
 *  - Exports are called on the caller's threads and may be called from any thread, but a handle
 *    must not be closed while another thread uses it.
 *  - Strings are NUL-terminated UTF-8 unless a name ends in W (wide-character paths).
 *  - Nothing is thrown across this interface.
 */
#ifndef ZEPHPLAY_H
#define ZEPHPLAY_H

#include <stdint.h>
#include <wchar.h>

#if defined(_WIN32)
#  if defined(ZEPHPLAY_BUILDING)
#    define ZEPHPLAY_API __declspec(dllexport)
#  else
#    define ZEPHPLAY_API __declspec(dllimport)
#  endif
#  define ZEPHPLAY_CALL __stdcall
#else
#  define ZEPHPLAY_API __attribute__((visibility("default")))
#  define ZEPHPLAY_CALL
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---------------------------------------------------------------------------------------------
 * Library frame
 *
 * Loading the library sets every process-wide setting to its default and reads the
 * configuration file (libzephplay.ini beside the library). ZEPHPLAY_Initialize and
 * ZEPHPLAY_UnInitialize need not be called. The setters store process-wide values without a
 * lock; a player reads whatever value is current.
 * ------------------------------------------------------------------------------------------- */

/** Opaque play handle: made by ZEPHPLAY_OpenPlayHandle, freed by ZEPHPLAY_ClosePlayHandle. */
typedef struct ZEPHPLAY_PLAYHANDLE ZEPHPLAY_PLAYHANDLE;

/** Raises the limit of open files (and stdio streams) to at least 2048. Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_Initialize(void);

/** Does nothing. Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_UnInitialize(void);

/** Stores the water-mark enable flag read by drawing and stream players. Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetWaterEable(int32_t enable);

/** Stores the playback gain, clamped to 1.0..25.0 (at or below 1.0, or NaN: 1.0). Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetAudioGain(double gain);

/** Stores the two echo-cancellation parameters (defaults 0 and 109). Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetAecParam(int32_t param1, int32_t param2);

/** Stores whether audio capture uses Speex noise suppression (default 0). Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetUseSpeex(int32_t use);

/** Stores whether H.264 decoding may use hardware acceleration (default 1). Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetUseDXVA2(int32_t use);

/** Accepted and ignored. Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetDDrawParam(int32_t value);

/**
 * Makes a play handle with no player yet and stores it in *handle.
 * Returns 0; -1 when handle is NULL or memory runs out (*handle is then untouched).
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenPlayHandle(ZEPHPLAY_PLAYHANDLE** handle);

/**
 * Stops and destroys the handle's player, if any, and frees the handle, which must not be used
 * again. Returns 0; -1 for a NULL handle.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ClosePlayHandle(ZEPHPLAY_PLAYHANDLE* handle);

/** What the library loaded; filled by ZEPHPLAY_GetLibraryInfo. */
typedef struct ZEPHPLAY_LIBRARY_INFO {
  uint32_t nSize;               /**< set by the caller to sizeof(ZEPHPLAY_LIBRARY_INFO) */
  char szVersion[32];           /**< "major.minor.patch" */
  char szLibraryPath[1024];     /**< the library file that was loaded */
  char szConfigPath[1024];      /**< the configuration file read for every key but WriteFile */
  char szAppDirectory[1024];    /**< where the WriteFile key is read from */
  char szLogPath[1024];         /**< the log file */
  int32_t nLogLevel;            /**< lowest level written: 0 detail, 1 information, 2 error */
  int32_t nFixedDecoderH264;    /**< [FixedDecoder] H264 as read at load (-1: not forced) */
  int32_t nDefaultAudioCoder;   /**< [CONFIG] DefaultAudioCoder, read now */
  int32_t nVideoMinDelay;       /**< [CONFIG] VideoMinDelay in ms, read now */
  int32_t nVideoMaxDelay;       /**< [CONFIG] VideoMaxDelay in ms, read now */
  int32_t nVideoDelayEnable;    /**< [CONFIG] VideoDelayEnable, read now */
  int32_t nWriteFile;           /**< [CONFIG] WriteFile of the application directory, read now */
  int32_t nWaterEnable;         /**< current process-wide settings */
  double dAudioGain;
  int32_t nAecParam1;
  int32_t nAecParam2;
  int32_t nUseSpeex;
  int32_t nUseDXVA2;
} ZEPHPLAY_LIBRARY_INFO;

/**
 * Fills *info with the version, the paths and configuration the library uses, and the current
 * settings. Returns 0; -1 when info is NULL or info->nSize is smaller than the structure.
 * Strings longer than their field are cut and always NUL-terminated.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetLibraryInfo(ZEPHPLAY_LIBRARY_INFO* info);

#ifdef __cplusplus
}
#endif

#endif /* ZEPHPLAY_H */
