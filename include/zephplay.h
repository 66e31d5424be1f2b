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
 *
 * Callbacks:
 *  - A callback is registered with its handle as a function and a 64-bit user value; the user
 *    value comes back unchanged in every call. Each callback type below names the thread that
 *    calls it: the player's decode thread, the player's play thread, the sound device's callback
 *    thread (the SDL audio thread) for sound, or the caller's own thread inside the export that
 *    causes the call. Calls of one callback never overlap.
 *  - The function may be NULL: nothing is called then. A setter waits for a call of its callback
 *    that is under way, so once the setter returns the previous function is not called again.
 *    Hence a callback must never wait, directly or by closing another handle, for a thread that
 *    may be calling a setter of the same handle.
 *  - No callback is called after the close that ends its object (ZEPHPLAY_ClosePlayHandle for a
 *    play handle) has returned.
 *  - Inside a callback the library may be called for other handles and objects, for the
 *    process-wide functions, and, on the same handle, for the callback's own setter (to clear or
 *    replace it). Nothing else on the same handle, and above all never its close: on a player's
 *    thread the close would wait for that thread to end, which is the thread making the call,
 *    and on the caller's thread (a step or a seek shows its picture there) it would free the
 *    player that the enclosing export is still using. So from inside any of the handle's
 *    callbacks, on whichever thread, ZEPHPLAY_ClosePlayHandle, ZEPHPLAY_CloseFile,
 *    ZEPHPLAY_Play and ZEPHPLAY_Stop are refused (-1 or 1, logged) and do nothing, and so is
 *    ZEPHPLAY_MPBClosePlayHandle inside a callback of a group's player. Other calls on the
 *    same handle may wait for a lock that another thread of the player holds while it waits for
 *    the calling thread.
 *  - Pointer arguments point into the library's memory: read them only, and only during the
 *    call; copy what must outlive it.
 *  - Return quickly: the calling thread waits meanwhile (a slow decode callback holds up
 *    decoding, a slow sound callback makes the sound stutter).
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
 * again. Returns 0; -1 for a NULL handle, and -1 (nothing done) when called on one of the
 * player's own threads, that is from inside one of the handle's callbacks.
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

/* ---------------------------------------------------------------------------------------------
 * Recording writer and reader
 *
 * A writer records frames into a GREC recording (a 512-byte head, the tagged frames, a key-frame
 * index written at close); a path ending in ".mp4" asks for an MP4 recording instead, which this
 * build cannot write yet (the open fails and the log says so). A reader gives the information of
 * a GREC recording. Handles are the objects themselves: valid from a successful open until the
 * matching close, which frees them. A handle must not be used by two threads at once for
 * opening or closing; writing and reading calls on one handle are serialised by the handle.
 * ------------------------------------------------------------------------------------------- */

/** Opaque recording writer handle. */
typedef struct ZEPHPLAY_WRITER ZEPHPLAY_WRITER;
/** Opaque recording reader handle. */
typedef struct ZEPHPLAY_READER ZEPHPLAY_READER;

/** What ZEPHPLAY_ReadFileInfo reports (20 bytes). The date fields come unconverted from the
 *  head: wYear holds the year minus 2000. */
typedef struct ZEPHPLAY_RECORD_INFO {
  uint16_t wYear;
  uint16_t wMonth;
  uint16_t wReserved1;  /**< 0 */
  uint16_t wDay;
  uint16_t wHour;
  uint16_t wMinute;
  uint16_t wSecond;
  uint16_t wReserved2;  /**< 0 */
  uint32_t nTotalMinSecond; /**< (stamp of the last key frame - stamp of the first) in ms */
} ZEPHPLAY_RECORD_INFO;

/**
 * Starts a new recording at path (replacing any file there) and stores the writer in *writer.
 * A path ending in ".mp4" (any case) records a fragmented MP4 file instead: the video as
 * received, the sound re-encoded to mono AAC-LC at its own rate (8000 Hz for sound that is not
 * AAC) and two bits a sample (16 kbit/s at 8000 Hz, at most 64 kbit/s), readable up to its last
 * key frame if never closed. The sound is encoded on a thread the writer starts with the file's
 * first key frame and ends at close, so ZEPHPLAY_WriteFrame never waits for the encoder unless
 * frames come faster than real time; a file never closed may lack the last moments of sound.
 * Returns 0; -1 when writer or path is NULL or the file cannot be created. *writer is untouched
 * on failure.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenWriter(ZEPHPLAY_WRITER** writer, const char* path);

/** As ZEPHPLAY_OpenWriter with a wide-character path. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenWriterW(ZEPHPLAY_WRITER** writer, const wchar_t* path);

/**
 * Opens path for recording: a closed GREC recording there is appended to (new frames follow
 * the old ones, one index covers both), anything else is started again; a missing file is
 * created. *recordedMs (may be NULL) receives the milliseconds already recorded (0 for a new
 * recording; an MP4 recording always starts again). Returns 0; -1 as for ZEPHPLAY_OpenWriter.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenWriterEx(ZEPHPLAY_WRITER** writer, const char* path,
                                                      uint32_t* recordedMs);

/** As ZEPHPLAY_OpenWriterEx with a wide-character path. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenWriterWEx(ZEPHPLAY_WRITER** writer, const wchar_t* path,
                                                       uint32_t* recordedMs);

/**
 * Sets the start date and time that closing writes into the head (instead of the time of day
 * of the first frame): year (e.g. 2026), month, day, seconds since midnight; use 0 stores them
 * without using them. Returns 0; 1 when year is 0 (the begin time is then unset); -1 for a
 * NULL writer.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetFileBeginTime(ZEPHPLAY_WRITER* writer, uint32_t use, uint32_t year,
                                                          uint32_t month, uint32_t day, uint32_t secondsOfDay);

/**
 * Replaces the recording's head with the first 456 bytes of head (for instance one that
 * ZEPHPLAY_GetFileHead filled); the index offset in it stays the writer's. The 32-bit value at
 * byte 180 names the audio coder type that a file player decodes the recording's sound with
 * (0, as ZEPHPLAY_GetFileHead leaves it: the configured DefaultAudioCoder). An MP4 recording
 * takes only the start time and that coder type, and only before its first key frame. Returns
 * 0; -1 for a NULL writer or head, length below 456, or a write failure.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetFileHead(ZEPHPLAY_WRITER* writer, const uint8_t* head,
                                                     uint32_t length);

/**
 * Writes one frame of length bytes (data may be NULL only when length is 0). tag is the frame's
 * tag or player frame type (its low byte is cleared): 0x63643000 key frame, 0x63643100 other
 * video, 0x62773100 audio with stamp, anything else a frame without stamp. stamp is in
 * microseconds. *payloadOffset and *nextOffset (each may be NULL) receive the file offset of
 * the payload and the file position after the frame. Returns 0; -1 for a NULL writer, a write
 * failure, or a recording that would pass 4 GiB.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_WriteFrame(ZEPHPLAY_WRITER* writer, const uint8_t* data, uint32_t length,
                                                    uint32_t tag, uint64_t stamp, uint32_t* payloadOffset,
                                                    uint32_t* nextOffset);

/** Writes the index and the final head, closes the file and frees the writer. Returns 0; -1
 *  for a NULL writer. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseWriter(ZEPHPLAY_WRITER* writer);

/**
 * Opens the GREC recording at path for its information and stores the reader in *reader.
 * Returns 0; -1 when reader or path is NULL, memory runs out, or the file is missing, is not
 * a GREC recording or holds no stamped frame.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenReader(ZEPHPLAY_READER** reader, const char* path);

/** Fills *info. Returns 0; -1 for a NULL reader or info. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ReadFileInfo(ZEPHPLAY_READER* reader, ZEPHPLAY_RECORD_INFO* info);

/**
 * Writes to *offset the file offset of the key frame that playback would start from ms
 * milliseconds after the recording's first stamp. Returns 0; 1 when ms lies beyond the
 * recording; -1 for a NULL reader or offset.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ReadTimeOffset(ZEPHPLAY_READER* reader, uint32_t ms, uint32_t* offset);

/** Closes the file and frees the reader. Returns 0; -1 for a NULL reader. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseReader(ZEPHPLAY_READER* reader);

/** Writes the length of a recording head (512) to *length. Returns 0; -1 when length is NULL. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetFileHeadLength(uint32_t* length);

/**
 * Fills the fields of a recording head in buffer (magic, format, the current local time as
 * start and end, the fixed values) and sets *length to 512; the other bytes of buffer are left
 * as given. *length is the buffer's capacity on entry: 456 bytes suffice, because the last 56
 * bytes of a head are never written. Returns 0; -1 when buffer or length is NULL or the
 * capacity is below 456.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetFileHead(uint8_t* buffer, uint32_t* length);

/* ---------------------------------------------------------------------------------------------
 * Video: decoded pictures, drawing and snapshots
 *
 * Pictures are YUV 4:2:0 planar, at most 4096 x 2304 pixels (larger ones are not decoded).
 * A window is the caller's native window handle: an X11 Window id (cast to void*) on Linux,
 * an HWND on Windows. With a NULL window nothing is drawn, but every callback below is still
 * called. Colours are 0x00BBGGRR (255 is red, 0xFFFFFF white).
 * On Linux the library draws through SDL2 from each player's play thread and adopts the window
 * there when the first picture comes. A host that uses SDL2's video itself shares SDL's window
 * list with the library, which SDL does not guard: pumping SDL events (SDL_PollEvent,
 * SDL_WaitEvent) while a player adopts a window can crash the process. Such a host should
 * hand over a window made with its toolkit or Xlib, not an SDL window it pumps events for
 * (zephplay makes its window with Xlib for this reason). Hosts on other toolkits are unaffected.
 *
 * Drawing parameters (set through a play handle's window and display exports):
 *  - on-screen text: slots 0..7 (slot 5 is the player's status line), each with its text
 *    (UTF-8; NULL or "" clears the slot), position in window pixels, colour, size in pixels
 *    (0: 16) and flags (bit 0: a dark box behind the text);
 *  - play rectangle: where the picture goes in the window (NULL: the whole window);
 *  - mirror mode: 0 none, 1 left-right, 2 upside down, 3 both;
 *  - zoom: percent (0 or 100: off, at most 800) around a picture point (0, 0: the centre);
 *  - start and end offsets: pixels cut from the left/top and from the right/bottom of the
 *    picture before it is shown; offsets that leave less than 2 x 2 pixels are ignored;
 *  - colour parameters: brightness, contrast, saturation and hue, each 0..100 with 50 neutral
 *    (default): brightness shifts by up to +-128 luma steps, contrast and saturation scale by
 *    0..2, hue turns the colours by -180..180 degrees; other values give -1;
 *  - the window with extras: a background colour around the picture (default black) and
 *    whether the picture keeps its aspect ratio inside the play rectangle (default: it fills it);
 *  - adjusting to the window: its size is read again before the next picture.
 * Drawing happens at most once every 16 ms; pictures whose width or height is below 100 are
 * never drawn nor captured.
 * ------------------------------------------------------------------------------------------- */

/** A rectangle in window pixels; right and bottom are exclusive. */
typedef struct ZEPHPLAY_RECT {
  int32_t left;
  int32_t top;
  int32_t right;
  int32_t bottom;
} ZEPHPLAY_RECT;

/** A point or a pair of pixel counts. */
typedef struct ZEPHPLAY_POINT {
  int32_t x;
  int32_t y;
} ZEPHPLAY_POINT;

/**
 * Decode callback: one call for each picture the decoder puts out, in decode order.
 * Thread: the player's decode thread, inside the decode of a frame.
 * Arguments: the user value first, then the Y, U and V planes with their strides in bytes, the
 * picture size in pixels and the frame's stamp in microseconds. The planes belong to the decoder,
 * which reuses them for the next picture: read them only, and only during the call; copy what
 * you keep. Not called for pictures that hardware decoding shows straight in the window.
 * May be NULL; re-entry, close and lifetimes as under "Callbacks" at the top.
 */
typedef void (ZEPHPLAY_CALL *ZEPHPLAY_DecCallBack)(uint64_t user, const uint8_t* y,
    const uint8_t* u, const uint8_t* v, int32_t yStride, int32_t uStride, int32_t vStride,
    int32_t width, int32_t height, uint64_t stamp);

/**
 * Picture-size callback: called when the decoded size changes, the first picture included,
 * before the decode callback of the first picture of the new size; when hardware decoding
 * starts, with the coded size. Thread: the player's decode thread, inside the decode of a frame.
 * No pointer arguments. May be NULL; re-entry and close as under "Callbacks" at the top.
 */
typedef void (ZEPHPLAY_CALL *ZEPHPLAY_SizeCallBack)(int32_t width, int32_t height, uint64_t user);

/**
 * Display callback: called after each picture is drawn (or, without a window, would have been):
 * the window handle, the picture's width and height, its stamp in microseconds, and the size it
 * was shown at (0 x 0 without a window). Pictures skipped by the 16 ms drawing limit and pictures
 * that hardware decoding shows straight in the window give no call.
 * Thread: the thread that draws: the player's play thread, or the caller's thread inside an
 * export that steps to or redraws a picture itself. No pointer arguments (the window is the
 * caller's own handle, passed back). May be NULL; re-entry and close as under "Callbacks" at the
 * top.
 */
typedef void (ZEPHPLAY_CALL *ZEPHPLAY_DisplayCallBack)(uint64_t window, uint32_t width,
    uint32_t height, uint64_t stamp, uint32_t shownWidth, uint32_t shownHeight, uint64_t user);

/**
 * Extended decode callback: called just before each picture is drawn, with its stamp in
 * microseconds, width, height, Y stride, U/V stride and the player's draw index. The same
 * pictures as the display callback, on the same thread: the player's play thread, or the
 * caller's thread inside an export that steps to or redraws a picture itself. No pointer
 * arguments. May be NULL; re-entry and close as under "Callbacks" at the top.
 */
typedef void (ZEPHPLAY_CALL *ZEPHPLAY_DecCBEx)(uint64_t stamp, uint32_t width, uint32_t height,
    uint32_t yStride, uint32_t uvStride, uint32_t index, uint64_t user);

/**
 * Decodes one H.264 key frame (Annex-B, with its parameter sets) and saves the picture as a
 * 24-bit BMP file at path (UTF-8; overwritten). Nothing is drawn and no handle is needed.
 * Returns 0 when a picture was decoded and saved; -1 when frame or path is NULL, length is 0,
 * no picture came out (not a key frame, damaged data, or a picture below 100 x 100), or the
 * file could not be written.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_IFrameToBMP(const uint8_t* frame, uint32_t length,
                                                        const char* path);

/* ---------------------------------------------------------------------------------------------
 * Window and display
 *
 * Each function works on the player of a play handle, file or stream; it returns -1 for a NULL
 * handle or a handle that has no player yet (before ZEPHPLAY_OpenFile). The values are the
 * drawing parameters described under "Video" above; setters take effect from the next picture
 * drawn and may be called from any thread, also while the player plays.
 * ------------------------------------------------------------------------------------------- */

/**
 * Draws the player's pictures into window (the native handle, see "Video"; NULL: stop drawing,
 * the callbacks go on). The window must outlive its use: set NULL (or close the handle) before
 * destroying it. Returns 0; -1 without a player.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetPlayWnd(ZEPHPLAY_PLAYHANDLE* handle, void* window);

/**
 * As ZEPHPLAY_SetPlayWnd, with the background colour around the picture (0x00BBGGRR) and
 * keepAspect nonzero to keep the picture's aspect ratio inside the play rectangle. Returns 0;
 * -1 without a player.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetPlayWndEx(ZEPHPLAY_PLAYHANDLE* handle, void* window,
                                                         uint64_t background, uint32_t keepAspect);

/** Reads the window's size again before the next picture (call it after a resize). Returns 0;
 *  -1 without a player. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AdjustedWndRect(ZEPHPLAY_PLAYHANDLE* handle);

/**
 * decode zero: video frames are dropped undecoded (sound and user data go on); nonzero (the
 * default): decoding resumes at the next key frame. Returns 0; -1 without a player.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetDecodeVideo(ZEPHPLAY_PLAYHANDLE* handle, uint32_t decode);

/**
 * Draws the last picture again (after the window was uncovered), at most once every 500 ms; a
 * call within 500 ms of the last picture is remembered and done later by a stream player.
 * Returns 0; -1 without a player or while it has no video decoder.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_FlashWnd(ZEPHPLAY_PLAYHANDLE* handle);

/**
 * Sets brightness, contrast, saturation and hue (0..100, 50 neutral); reset nonzero restores
 * the defaults and ignores the four values. Returns 0; -1 without a player or for a value
 * above 100.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetColorParams(ZEPHPLAY_PLAYHANDLE* handle, uint32_t brightness,
                                                           uint32_t contrast, uint32_t saturation, uint32_t hue,
                                                           uint32_t reset);

/** Writes the four colour parameters. Returns 0; -1 without a player or when a pointer is NULL. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetColorParams(ZEPHPLAY_PLAYHANDLE* handle, uint32_t* brightness,
                                                           uint32_t* contrast, uint32_t* saturation,
                                                           uint32_t* hue);

/**
 * Shows text in slot index (0..7; slot 5 is the player's status line) at (x, y) window pixels
 * with colour, size (0: 16) and flags (bit 0: a dark box behind it); text NULL or "" clears the
 * slot. The text is copied. Returns 0; -1 without a player or for an index above 7.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ShowOSDText(ZEPHPLAY_PLAYHANDLE* handle, uint32_t index,
                                                        const char* text, uint32_t x, uint32_t y,
                                                        uint32_t color, uint32_t size, uint32_t flags);

/** Mirror mode 0 none, 1 left-right, 2 upside down, 3 both. Returns 0; -1 without a player or
 *  for another mode. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetMirrorMode(ZEPHPLAY_PLAYHANDLE* handle, uint32_t mode);

/** Zoom in percent (0 or 100: off, at most 800) around the picture point (centerX, centerY)
 *  (0, 0: the centre). Returns 0; -1 without a player or for 1..99 or above 800 percent. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetZoom(ZEPHPLAY_PLAYHANDLE* handle, uint32_t percent,
                                                    uint32_t centerX, uint32_t centerY);

/** enable nonzero cuts start->x pixels at the left and start->y at the top of the picture;
 *  zero turns both cuts off. Returns 0; -1 without a player, or for a NULL or negative start
 *  when enabling. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetOffsetStart(ZEPHPLAY_PLAYHANDLE* handle, uint32_t enable,
                                                           const ZEPHPLAY_POINT* start);

/** Cuts end->x pixels at the right and end->y at the bottom (once ZEPHPLAY_SetOffsetStart has
 *  enabled the cuts). Returns 0; -1 without a player, or for a NULL or negative end. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetOffsetEnd(ZEPHPLAY_PLAYHANDLE* handle, const ZEPHPLAY_POINT* end);

/* ---------------------------------------------------------------------------------------------
 * Playback control
 *
 * For the player of a play handle, file or stream. Every function returns -1 for a NULL handle
 * or a handle without a player. Called on the caller's thread; safe while the player plays.
 * ------------------------------------------------------------------------------------------- */

/** pause nonzero pauses pictures and sound, zero resumes them. Returns 0; -1 without a player. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_Pause(ZEPHPLAY_PLAYHANDLE* handle, uint32_t pause);

/**
 * Play rate: 0 normal; 1..4 faster (the gap between pictures divided by the rate); 5 and above
 * key frames only, as fast as the rate; below 0 slower (-1 half speed, -2 a quarter, ...). Sound
 * plays only at rate 0. A paused player resumes. Returns 0; -1 without a player.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetPlayRate(ZEPHPLAY_PLAYHANDLE* handle, int32_t rate);

/**
 * Writes the position of the picture on screen to *ms: for a file, milliseconds from the
 * file's first stamp (before the first picture: a meaningless value); for a stream, whole
 * SECONDS (rounded) from the first cached frame to the play position of ZEPHPLAY_STREAM_CACHED.
 * Returns 0; -1 for a stream whose cache is empty or played to its end (then *ms is the last
 * frame's time), without a player, or for a NULL ms.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetPlayTime(ZEPHPLAY_PLAYHANDLE* handle, uint32_t* ms);

/** Starts the sound, following the picture on screen. Returns 0; 1 when it is already on; -1
 *  without a player. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_PlaySound(ZEPHPLAY_PLAYHANDLE* handle);

/** Stops the sound. Returns 0; 1 when it is already off; -1 without a player. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_StopSound(ZEPHPLAY_PLAYHANDLE* handle);

/** Sets the output volume, 0..100 percent (more is 100). Returns 0; -1 without a player. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetVolume(ZEPHPLAY_PLAYHANDLE* handle, uint16_t volume);

/** Sets the player's sound gain, held to 1.0..25.0. Returns 0; -1 without a player. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetGain(ZEPHPLAY_PLAYHANDLE* handle, double gain);

/**
 * Saves the picture on screen (else the decoder's last picture) as a 24-bit BMP file at path
 * (UTF-8; overwritten). Returns 0; -1 without a player, without any picture, or when the file
 * cannot be written.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CaptureBMP(ZEPHPLAY_PLAYHANDLE* handle, const char* path);

/** As ZEPHPLAY_CaptureBMP, as a JPEG file (quality 90, no chroma subsampling). */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CaptureJPEG(ZEPHPLAY_PLAYHANDLE* handle, const char* path);

/** only nonzero: decode key frames only (other video frames are dropped). Returns 0; -1
 *  without a player. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetPlayIFrame(ZEPHPLAY_PLAYHANDLE* handle, uint32_t only);

/** backward nonzero: a stream player paces key frames in reverse stamp order (backward
 *  playback); a file player plays key frames only. Returns 0; -1 without a player. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetPlayBackIFrame(ZEPHPLAY_PLAYHANDLE* handle, uint32_t backward);

/* ---------------------------------------------------------------------------------------------
 * File playback
 *
 * A play handle plays one recorded file: a GREC recording or a vendor ".mpg" file (by its
 * name). ZEPHPLAY_OpenFile gives the handle its file player; every other function here returns
 * -1 for a NULL handle, a handle without a player, or a handle that plays a stream. Pictures are
 * paced by their stamps on the player's own threads; functions are called on the caller's
 * thread and are safe while the player plays.
 * ------------------------------------------------------------------------------------------- */

/** What ZEPHPLAY_SetEndCallBack's callback is told. */
#define ZEPHPLAY_END_FORWARD 0u  /**< playback ran out of frames at the end of the file */
#define ZEPHPLAY_END_BACKWARD 1u /**< backward playback reached the beginning */

/**
 * End callback: called once when playback runs out of frames (endKind ZEPHPLAY_END_FORWARD);
 * reading frames again (ZEPHPLAY_Play, ZEPHPLAY_SetPlayTime, stepping) re-arms it.
 * Thread: the player's play thread. No pointer arguments. Inside it, the library may be called
 * as under "Callbacks" at the top: ZEPHPLAY_Play, ZEPHPLAY_Stop, ZEPHPLAY_CloseFile and
 * ZEPHPLAY_ClosePlayHandle are refused there (1 from ZEPHPLAY_Play and ZEPHPLAY_Stop, -1 from the
 * closes, with a log line) and do nothing: signal another thread and close from there.
 */
typedef void (ZEPHPLAY_CALL *ZEPHPLAY_EndCallBack)(uint32_t endKind, uint64_t user);

/**
 * Gives the handle a file player for path (UTF-8) and opens the file; nothing plays before
 * ZEPHPLAY_Play. drawMode is handed to the drawing module unchanged (0 will do). Returns 0 also
 * when the file could not be opened: that shows in the next ZEPHPLAY_GetFileInfo or
 * ZEPHPLAY_Play (1); -1 for a NULL handle or a handle that already has a player (the player is
 * left as it was).
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenFile(ZEPHPLAY_PLAYHANDLE* handle, const char* path,
                                                     uint32_t drawMode);

/** Stops playback and closes the file; the handle keeps its (now empty) file player and cannot
 *  open another file or a stream. Returns 0; -1 as above or inside one of the handle's
 *  callbacks. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseFile(ZEPHPLAY_PLAYHANDLE* handle);

/**
 * Fills *info with the file's start date and its length in ms (nTotalMinSecond: last video
 * stamp minus first stamp). Returns 0; 1 when no file is open (it could not be opened); -1 as
 * above or for a NULL info.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetFileInfo(ZEPHPLAY_PLAYHANDLE* handle, ZEPHPLAY_RECORD_INFO* info);

/**
 * Plays the file from its beginning (also after a pause, a stop or the end), at rate 0, not
 * paused, sound off (ZEPHPLAY_PlaySound turns it on). Returns 0; 1 when no file is open or
 * inside one of the handle's callbacks; -1 as above.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_Play(ZEPHPLAY_PLAYHANDLE* handle);

/** Stops the player's threads and the sound; the picture stays. Returns 0; 1 inside one of the
 *  handle's callbacks; -1 as above. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_Stop(ZEPHPLAY_PLAYHANDLE* handle);

/**
 * Pauses (when playing) and shows the next picture, when the decoder has one ready (else it
 * waits 20 ms and shows nothing). Returns 0; -1 as above.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OneByOne(ZEPHPLAY_PLAYHANDLE* handle);

/**
 * Pauses (when playing) and shows the next (forward nonzero) or previous (zero) key frame.
 * Returns 0; -1 as above or when there is no such key frame.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_PlayOneIFrame(ZEPHPLAY_PLAYHANDLE* handle, uint32_t forward);

/**
 * Moves to the key frame for ms milliseconds after the file's first stamp and shows it (the
 * picture comes within the next ten frames read); playing, paused or stopped, the player goes on
 * from there. Returns 0; 1 when ms lies beyond the file or no file is open; -1 as above.
 * A stream handle (ZEPHPLAY_STREAM_CACHED) moves to the first cached key frame at or after ms
 * after the first cached frame and shows it; -1 when there is none. Streams log nothing.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetPlayTime(ZEPHPLAY_PLAYHANDLE* handle, uint32_t ms);

/**
 * Sets the end callback (see ZEPHPLAY_EndCallBack) with its user value; NULL removes it. Waits
 * for a call under way, so once it returns the previous callback is not called again. Returns
 * 0; -1 as above.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetEndCallBack(ZEPHPLAY_PLAYHANDLE* handle, uint64_t user,
                                                           ZEPHPLAY_EndCallBack callback);

/* ---------------------------------------------------------------------------------------------
 * Stream playback
 *
 * A play handle plays a live stream that the caller pushes in: raw bytes as they arrive
 * (ZEPHPLAY_InputStreamData, cut into frames by the library) or whole frames
 * (ZEPHPLAY_InputFrameData). ZEPHPLAY_OpenStream gives the handle its stream player; every other
 * function here returns -1 for a NULL handle, a handle without a player, or a handle that plays
 * a file. None of them logs. They may be called from any thread, also while the player plays;
 * input usually comes from one network thread and control from another.
 *
 * The input functions return -3 ("try again later") when the player cannot take the data now
 * (its queue is full even after growing): nothing of that call was kept, so push the same bytes
 * again a little later; nothing is lost that way.
 * ------------------------------------------------------------------------------------------- */

/** Stream modes (ZEPHPLAY_SetStreamMode). */
#define ZEPHPLAY_STREAM_DELAY 0u     /**< pictures held between the minimum and maximum delay */
#define ZEPHPLAY_STREAM_CACHED 1u    /**< everything cached in a temporary file: seek and step */
#define ZEPHPLAY_STREAM_IMMEDIATE 2u /**< every picture shown as soon as it is decoded (default) */

/** The stream-attribute record a stream may carry as frame type 1 (at least 284 bytes). Its
 *  fields, little-endian: u32 magic at 0, u32 video codec at 4, u32 audio coder type at
 *  ZEPHPLAY_STREAM_ATTR_AUDIO_CODER (the types of the audio section below; 0 for the configured
 *  DefaultAudioCoder), u8 picture class at 100 (4 D1, 5 720P, 6 1080P: sizes the video queue). */
#define ZEPHPLAY_STREAM_ATTR_SIZE 284u
#define ZEPHPLAY_STREAM_ATTR_MAGIC 0x40000001u
#define ZEPHPLAY_STREAM_ATTR_AUDIO_CODER 8u

/**
 * Gives the handle a stream player and starts its threads, in mode ZEPHPLAY_STREAM_IMMEDIATE.
 * param and paramValue are not used (NULL and 0 will do). videoQueueBytes sizes the video frame
 * queue of 1000 frames (it grows when frames do not fit). unpaced, the base option: nonzero
 * turns on delay control in mode ZEPHPLAY_STREAM_DELAY also without hardware decoding (with
 * hardware decoding it is always on). Returns 0, also when the player could not be set up; -1
 * for a NULL handle or a handle that already has a player.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenStream(ZEPHPLAY_PLAYHANDLE* handle, void* param, int32_t paramValue,
                                                       uint32_t videoQueueBytes, uint32_t unpaced);

/** Resizes the video queue to bytes; refused silently when fewer than the bytes held. 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_StreamSetPlayBuffer(ZEPHPLAY_PLAYHANDLE* handle, uint32_t bytes);

/**
 * Sets the stream mode (ZEPHPLAY_STREAM_*); every call starts the mode afresh (in
 * ZEPHPLAY_STREAM_CACHED with a new empty cache file, the old one removed) and restores the
 * default delay pair (2000/6000 ms, or the last pair ZEPHPLAY_SetDelayTime accepted).
 * In ZEPHPLAY_STREAM_DELAY pictures are held until the queued video spans the minimum delay,
 * meanwhile the sound plays silence without using up audio; while the span is at or above the
 * maximum delay the player catches up by showing each picture after three quarters of its
 * interval (this overrides ZEPHPLAY_SetPlayRate). Outside ZEPHPLAY_STREAM_CACHED the sound may
 * lag the picture by up to 2500 ms before it is trimmed. 0.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetStreamMode(ZEPHPLAY_PLAYHANDLE* handle, uint32_t mode);

/** Hands the player a stream-attribute record; shorter than 284 bytes or a wrong magic is
 *  ignored. attr may be NULL only with length 0. 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetStreamAttr(ZEPHPLAY_PLAYHANDLE* handle, const uint8_t* attr,
                                                          uint32_t length);

/** Pushes stream bytes as they arrived, in pieces of any size. The bytes are copied before the
 *  call returns. Frames cut from them go straight to the play queues: they are neither cached
 *  (ZEPHPLAY_STREAM_CACHED) nor recorded; push whole frames for that. 0; -3 try again later: a
 *  frame waits for room and the bytes do not fit beside it (nothing of the call kept). Frames
 *  that wait for room are passed on at the next call; a call with length 0 does just that.
 *  A video frame whose bytes are still arriving holds its place in the video queue: until its
 *  last byte comes (or ZEPHPLAY_ResetStream), ZEPHPLAY_InputFrameData's video on the same
 *  handle answers -3. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_InputStreamData(ZEPHPLAY_PLAYHANDLE* handle, const uint8_t* data,
                                                            uint32_t length);

/** Pushes one whole frame of the given frame type with its stamp in microseconds; copied before
 *  the call returns. Type 1 is a stream-attribute record. In ZEPHPLAY_STREAM_CACHED the frame
 *  is cached (0). While a recording runs, every frame given is recorded whatever the result.
 *  0; -1 unknown type; -3 try again later; -4 type 2 (a refused frame, never kept). */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_InputFrameData(ZEPHPLAY_PLAYHANDLE* handle, const uint8_t* data,
                                                           uint32_t length, uint32_t type, uint64_t stamp);

/** Stops the player, removes its cache file and stops recording. 0; -1 inside one of the
 *  player's own callbacks (nothing done). */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseStream(ZEPHPLAY_PLAYHANDLE* handle);

/** *frames: cached frames not yet played (mode ZEPHPLAY_STREAM_CACHED). 0 when that is not 0,
 *  else -1. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetVideoFrameNum(ZEPHPLAY_PLAYHANDLE* handle, uint32_t* frames);

/** Forgets everything queued, decoded and cached, stops recording and waits for a key frame. 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ResetStream(ZEPHPLAY_PLAYHANDLE* handle);

/** *bytes: the video queue's free bytes. 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetSourceBufferRemain(ZEPHPLAY_PLAYHANDLE* handle, uint32_t* bytes);

/** The delay pair of mode ZEPHPLAY_STREAM_DELAY in ms. 0; 1 when minMs < 100, maxMs > 60000 or
 *  maxMs <= minMs. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetDelayTime(ZEPHPLAY_PLAYHANDLE* handle, uint32_t minMs, uint32_t maxMs);

/** Mode ZEPHPLAY_STREAM_CACHED: pauses and shows the next (backward 0) or previous key frame of
 *  the cache. Forward with allowNonKey 0 and key-frame-only play off, the next picture of any
 *  kind (key or not) is shown; with allowNonKey nonzero only a key frame. 0; -1 when there is
 *  none. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_PlayOneFrameData(ZEPHPLAY_PLAYHANDLE* handle, uint32_t backward,
                                                             uint32_t allowNonKey);

/** Mode ZEPHPLAY_STREAM_CACHED: shows the first key frame at or after stamp (µs). 0; -1 when
 *  there is none. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SeekIFramStamp(ZEPHPLAY_PLAYHANDLE* handle, uint64_t stamp);

/**
 * Starts recording into path (UTF-8; GREC, or MP4 for a name ending ".mp4") the whole frames
 * given to ZEPHPLAY_InputFrameData from now on; bytes given to ZEPHPLAY_InputStreamData are
 * played but not recorded. type is the path kind: 1 (a UTF-8 path). An MP4 recording decodes
 * the sound with the audio codec of the stream attribute in force (the configured
 * DefaultAudioCoder without one) and stores it as AAC. 0 while a recording runs afterwards; 1
 * when it could not be started.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_StartPlayRecord(ZEPHPLAY_PLAYHANDLE* handle, const char* path,
                                                            uint32_t type);

/** Stops and closes the recording. 0; 1 when none was running. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_StopPlayRecord(ZEPHPLAY_PLAYHANDLE* handle);

/** The running recording's length in bytes so far (the file position after the last frame
 *  written; 0 before the first); -1 also when no recording runs. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetPlayRecordStatus(ZEPHPLAY_PLAYHANDLE* handle);

/** *stamp: the stamp (µs) of the picture shown last, 0 before the first and after a reset. 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetPlayStamp(ZEPHPLAY_PLAYHANDLE* handle, uint64_t* stamp);

/* ---------------------------------------------------------------------------------------------
 * Callbacks
 *
 * A player's callbacks (file or stream). Each setter stores the function with its user value;
 * NULL stops the calls. A setter waits for a call of that callback under way, so once it
 * returns the previous function is not called again. A handle has a player from
 * ZEPHPLAY_OpenFile on: before, the setters return -1; set the callbacks between opening and
 * ZEPHPLAY_Play to see every picture. They may be called from any thread; inside a callback,
 * only that callback's own setter (see "Callbacks" at the top). The threads, arguments and
 * pointer lifetimes are those of the callback types.
 * ------------------------------------------------------------------------------------------- */

/**
 * User-data callback: the payload and length of a user-data frame of a stream, its frame type
 * and 64-bit stamp (0 for user data). Thread: the player's decode thread, in frame order. The
 * payload is valid only during the call. Recorded files deliver no user data.
 */
typedef void (ZEPHPLAY_CALL *ZEPHPLAY_UsrDataCallBack)(const uint8_t* data, uint32_t length, uint32_t type,
                                                       uint64_t stamp, uint64_t user);

/**
 * PCM callback: the decoded 16-bit samples of each audio frame as it is played (samples counts
 * every channel's samples together), the channels, bits (16), sample rate and the frame's stamp
 * in microseconds. Thread: the sound device's thread; only while the sound is on. The samples
 * are valid only during the call.
 */
typedef void (ZEPHPLAY_CALL *ZEPHPLAY_AudioDecDataCallBack)(const int16_t* pcm, uint32_t samples,
                                                            uint32_t channels, uint32_t bits, uint32_t rate,
                                                            uint64_t stamp, uint64_t user);

/** Sets the decode callback (ZEPHPLAY_DecCallBack). Returns 0; -1 without a player. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetDecCallBack(ZEPHPLAY_PLAYHANDLE* handle, uint64_t user,
                                                           ZEPHPLAY_DecCallBack callback);

/** Sets the user-data callback. Returns 0; -1 without a player. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetUsrDataBack(ZEPHPLAY_PLAYHANDLE* handle, uint64_t user,
                                                           ZEPHPLAY_UsrDataCallBack callback);

/** Sets the display callback (ZEPHPLAY_DisplayCallBack). Returns 0; -1 without a player. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetDisplayCallBack(ZEPHPLAY_PLAYHANDLE* handle, uint64_t user,
                                                               ZEPHPLAY_DisplayCallBack callback);

/** Sets the extended decode callback (ZEPHPLAY_DecCBEx). Returns 0; -1 without a player. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetDecCBEx(ZEPHPLAY_PLAYHANDLE* handle, uint64_t user,
                                                       ZEPHPLAY_DecCBEx callback);

/** Sets the PCM callback; note the order: function first, then user value. Returns 0; -1
 *  without a player. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetAudioDecDataCallBack(ZEPHPLAY_PLAYHANDLE* handle,
                                                                    ZEPHPLAY_AudioDecDataCallBack callback,
                                                                    uint64_t user);

/** Sets the picture-size callback (ZEPHPLAY_SizeCallBack); function first, then user value.
 *  Returns 0; -1 without a player. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetSizeCallBack(ZEPHPLAY_PLAYHANDLE* handle,
                                                            ZEPHPLAY_SizeCallBack callback, uint64_t user);

/** Not supported. Always returns -1. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetSourceBufCallBack(ZEPHPLAY_PLAYHANDLE* handle, uint32_t value,
                                                                 void* pointer, uint32_t value2);

/** Not supported. Always returns -1. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SearchFrame(void);

/* ---------------------------------------------------------------------------------------------
 * Media information
 *
 * What a recorded file holds, read straight from the file without playing it.
 * ------------------------------------------------------------------------------------------- */

#define ZEPHPLAY_FILE_GREC 1u  /**< GREC recording */
#define ZEPHPLAY_FILE_MPG 2u   /**< vendor ".mpg" file */

#define ZEPHPLAY_VCODEC_NONE 0u
#define ZEPHPLAY_VCODEC_H264 1u
#define ZEPHPLAY_VCODEC_H265 2u

#define ZEPHPLAY_ACODEC_NONE 0u   /**< no audio frames */
#define ZEPHPLAY_ACODEC_AAC 1u    /**< AAC in ADTS */
#define ZEPHPLAY_ACODEC_UNITS 2u  /**< voice-engine units ("00 01 n 00" runs) */
#define ZEPHPLAY_ACODEC_RAW 3u    /**< anything else: G.711 or PCM without framing */

/** Filled by ZEPHPLAY_GetMediaInfo. */
typedef struct ZEPHPLAY_MEDIA_INFO {
  uint32_t nSize;              /**< set by the caller to sizeof(ZEPHPLAY_MEDIA_INFO) */
  uint32_t nFileKind;          /**< ZEPHPLAY_FILE_* */
  ZEPHPLAY_RECORD_INFO info;   /**< start date and length, as ZEPHPLAY_GetFileInfo gives them
                                    (a GREC recording's length ends at its last key frame) */
  uint64_t u64BeginStamp;      /**< first stamp of the file, microseconds */
  uint64_t u64EndStamp;        /**< highest stamp of a video frame read, microseconds */
  uint32_t nVideoCodec;        /**< ZEPHPLAY_VCODEC_*, from the first key frame */
  uint32_t nWidth;             /**< picture size of the first key frame (0 x 0: no picture) */
  uint32_t nHeight;
  uint32_t nVideoFrames;       /**< video frames, key frames included */
  uint32_t nKeyFrames;
  uint32_t nAudioCodec;        /**< ZEPHPLAY_ACODEC_*, from the first audio frame */
  uint32_t nAudioFrames;
} ZEPHPLAY_MEDIA_INFO;

/**
 * Reads the recorded file at path (UTF-8) from end to end and fills *info. Returns 0; -1 when
 * path or info is NULL, info->nSize is smaller than the structure, or the file cannot be opened
 * as a recording. A damaged file gives what could be read up to the damage.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetMediaInfo(const char* path, ZEPHPLAY_MEDIA_INFO* info);

/* ---------------------------------------------------------------------------------------------
 * Audio: the audio player, the audio decoder and the AMR codec
 *
 * Coder types (the audio head's coder field): 0..11 and 16 voice-engine units (G.726, ADPCM,
 * G.711), 12, 13, 15, 22..25 AAC in ADTS at 8000, 16000, 24000, 32000, 40000, 44100, 48000 Hz,
 * 14 AMR-NB, 17 G.711 A-law, 18 G.711 mu-law, 19 Nellymoser, 20 and 21 16-bit PCM at 8000 and
 * 16000 Hz. A decoder of any other type accepts nothing and plays nothing.
 *
 * Audio head: 512 bytes, little-endian: u16 1, u16 0x6000, u16 coder type, u16 frame length
 * (handed to the decoder; 104 from the encoders), u16 channels, u16 sample rate (the last two
 * are read by the audio decoder only), then zeros. Only the first 12 bytes are read.
 * Audio frame: a 12-byte head (u32 payload length, u64 stamp in microseconds) and the payload.
 * Voice-engine payloads are runs of units "00 01 n 00" followed by 2 * n bytes.
 *
 * Handles are the objects themselves: valid from a successful open until the matching close,
 * which frees them. A handle must not be used by two threads at once. Every function with a
 * handle returns -1 when it is NULL. Buffers passed in are copied before the call returns.
 * Sound plays on the default output device (SDL2 audio); its refills and the cache checks run
 * on the sound device's thread.
 * ------------------------------------------------------------------------------------------- */

/** Opaque audio player: made by ZEPHPLAY_OpenAudioPlayer(Ex), freed by ZEPHPLAY_CloseAudioPlayer. */
typedef struct ZEPHPLAY_AUDIOPLAYER ZEPHPLAY_AUDIOPLAYER;
/** Opaque audio decoder: made by ZEPHPLAY_OpenAudioDecoder, freed by ZEPHPLAY_CloseAudioDecoder. */
typedef struct ZEPHPLAY_AUDIODECODER ZEPHPLAY_AUDIODECODER;

/**
 * Makes an audio player with a frame buffer of 100 frames and 64000 bytes and no device yet
 * (the first head opens it) and stores it in *player. Returns 0; -1 when player is NULL or
 * memory runs out.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioPlayer(ZEPHPLAY_AUDIOPLAYER** player);

/**
 * As ZEPHPLAY_OpenAudioPlayer, with an audio delay: whenever the queued frames span more than
 * delayMs, the oldest are dropped down to a quarter second's worth (0: the default rules, below).
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioPlayerEx(ZEPHPLAY_AUDIOPLAYER** player, uint32_t delayMs);

/**
 * Gives the player an audio head: the decoder is replaced by one for its coder type and the
 * device is (re)opened in that decoder's format. Queued frames stay. Returns 0 (also when no
 * decoder could be made: nothing plays then); -1 for a NULL player or head, or length < 12.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_InputAudioHead(ZEPHPLAY_AUDIOPLAYER* player, const uint8_t* head,
                                                           uint32_t length);

/**
 * Queues one audio frame (12-byte head and payload, length bytes in all); the frame's own stamp
 * is used, stamp is only logged. A voice-engine payload is queued unit by unit. When the buffer
 * is full the oldest frames are dropped down to 50 (in pure-audio mode the buffer grows
 * instead). Returns 0; -1 for a NULL player, no head given yet, a NULL frame or length < 12.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_InputAudioData(ZEPHPLAY_AUDIOPLAYER* player, const uint8_t* frame,
                                                           uint32_t length, uint64_t stamp);

/**
 * Queues a bare payload stamped with stamp (microseconds). A payload beginning 00 01 is cut into
 * length / unit units of the first unit's size. A frame that does not fit is dropped (in
 * pure-audio mode the buffer grows). Returns 0; -1 for a NULL player or no head given yet.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_InputAudioFrame(ZEPHPLAY_AUDIOPLAYER* player, const uint8_t* payload,
                                                            uint32_t length, uint64_t stamp);

/** Returns 0 when a frame of length bytes would be queued now; -3 when the buffer is too full. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CheckAudioData(ZEPHPLAY_AUDIOPLAYER* player, uint32_t length);

/**
 * flag non-zero: drops every queued frame; zero: stops the device (the next head reopens it).
 * Returns 0.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_PlayAudioSound(ZEPHPLAY_AUDIOPLAYER* player, int32_t flag);

/**
 * Sets the output volume of both channels, 0..100 percent (more is 100); ignored while no device
 * is open (before the first head, after ZEPHPLAY_PlayAudioSound(player, 0)). Returns 0.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetAudioVolume(ZEPHPLAY_AUDIOPLAYER* player, uint16_t percent);

/**
 * Sets the software gain: 0 is unity; other values are held to 1.0..25.0 (the gain never
 * attenuates). Samples are multiplied, truncated and clipped to 16 bits. Returns 0.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetAudioPlayerGain(ZEPHPLAY_AUDIOPLAYER* player, double gain);

/** Sets the audio delay of ZEPHPLAY_OpenAudioPlayerEx. Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetAudioDelay(ZEPHPLAY_AUDIOPLAYER* player, uint32_t delayMs);

/**
 * When the queue runs dry, the device buffers keep repeating their last sound for count
 * refills in a row before they turn silent (below 1: silent at once, the default). Returns 0.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetNoDataEmptyCount(ZEPHPLAY_AUDIOPLAYER* player, int32_t count);

/**
 * Pure-audio mode, for good: nothing is dropped to keep latency low; a full buffer grows by half
 * (up to 32 MiB). Returns 0.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetPureAudioMode(ZEPHPLAY_AUDIOPLAYER* player);

/** Accepted and ignored. Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_SetAudioAcc1Chn(ZEPHPLAY_AUDIOPLAYER* player, int32_t value);

/** Drops every queued frame. Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ResetAudioPlayer(ZEPHPLAY_AUDIOPLAYER* player);

/** Stops the device and frees the player, which must not be used again. Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseAudioPlayer(ZEPHPLAY_AUDIOPLAYER* player);

/**
 * Makes an audio decoder without a codec yet and stores it in *decoder. Returns 0; -1 when
 * decoder is NULL or memory runs out.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioDecoder(ZEPHPLAY_AUDIODECODER** decoder);

/**
 * Chooses the codec from an audio head. A codec of the same coder type is kept, and so is any
 * codec when the head's type is outside 1..25. A head saying 1 channel at 8000 Hz turns on
 * conversion of the output to 8000 Hz. Returns 0; -1 for a NULL decoder or head, or length < 12.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AudioDecoderHead(ZEPHPLAY_AUDIODECODER* decoder, const uint8_t* head,
                                                             uint32_t length);

/**
 * The decoder's output format: channels, samples per second, average bytes per second, bits per
 * sample (16). Returns 0; -1 for NULL arguments or before a head (the outputs are then untouched).
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AudioDecoderWaveFormat(ZEPHPLAY_AUDIODECODER* decoder,
                                                                   uint16_t* channels, uint32_t* samplesPerSec,
                                                                   uint32_t* avgBytesPerSec,
                                                                   uint16_t* bitsPerSample);

/**
 * Decodes one payload (a voice-engine unit run, an ADTS frame, a G.711/PCM block, ...) into
 * 16-bit PCM at pcm. *pcmLength holds the room at pcm in bytes on entry and the bytes written on
 * return (0 before a head or when nothing decoded); PCM that does not fit is dropped. Returns 0;
 * -1 for NULL arguments.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AudioDecoderFrame(ZEPHPLAY_AUDIODECODER* decoder, const uint8_t* data,
                                                              uint32_t length, uint8_t* pcm,
                                                              uint32_t* pcmLength);

/** Frees the decoder, which must not be used again. Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseAudioDecoder(ZEPHPLAY_AUDIODECODER* decoder);

/*
 * AMR-NB, 8000 Hz, 160 samples (20 ms) a frame, in the storage format of RFC 4867 section 5
 * (a ToC byte "0 FT(4) Q 0 0", then the speech bits): 13, 14, 16, 18, 20, 21, 27 or 32 bytes for
 * modes 0 (4.75 kbit/s) to 7 (12.2 kbit/s), 6 for SID, 1 for no data. A state is used by one
 * thread at a time; states are independent of one another.
 */

/** Makes a decoder state in *state. Returns 0; -1 when state is NULL or memory runs out. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL AMR_Decode_Init(void** state);

/**
 * Decodes the frame at frame (length bytes available) into 160 samples at pcm; bfi non-zero
 * marks the frame as damaged (concealed). Returns the frame's byte count; -1 for NULL state, a
 * frame type that is not sent (9..14) or a frame longer than length (pcm then holds 160 zeros
 * when it is not NULL).
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL AMR_Decode_Frame(void* state, const uint8_t* frame, int32_t length, int16_t* pcm,
                                                    int32_t bfi);

/** Frees a decoder state. Returns 0; -1 for NULL. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL AMR_Decode_Exit(void* state);

/**
 * Makes an encoder state in *state; dtx non-zero sends SID frames in silence. Returns 0; -1 when
 * state is NULL or memory runs out.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL AMR_Encode_Init(void** state, int32_t dtx);

/**
 * Encodes 160 samples in mode 0..7 into one frame at frame (room for 32 bytes). Returns the
 * frame's byte count; -1 for NULL arguments or a mode outside 0..7.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL AMR_Encode_Frame(void* state, const int16_t* pcm, uint8_t* frame, int32_t mode);

/** Frees an encoder state. Returns 0; -1 for NULL. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL AMR_Encode_Exit(void* state);

/* ---------------------------------------------------------------------------------------------
 * Audio encoding: 16-bit mono PCM to the recorders' audio frames
 *
 * An encoder takes the coder types of the audio head above: 1..11 and 16 voice-engine units
 * (type 16 gathers 322 bytes, 161 samples, per IMA unit across calls), AAC-LC mono in ADTS
 * (12, 13, 15, 22, 24, 25; 40000 Hz, type 23, has no ADTS rate and does not open), 14 AMR-NB at
 * 12.2 kbit/s, 17 and 18 G.711 A-law and mu-law, 20 and 21 PCM. Type 0 and unknown types do not
 * open. PCM is native-endian 16-bit samples at the coder type's rate.
 *
 * Each encoding call writes one audio frame (see "Audio frame" above): the 12-byte head with the
 * payload length and a stamp of the millisecond tick x 1000 in 32 bits (it wraps every 2^32
 * microseconds, about 71.6 minutes), then the units of whole pieces of input, back to back.
 * Pieces are 320 bytes (160 samples); AAC takes 1024-byte pieces. The caller's frame buffer must
 * hold ZEPHPLAY_AUDIO_ENCODER_FRAME_SIZE(length) bytes.
 *
 * AAC gathers 1024 samples per AAC frame across calls and the encoder looks one frame ahead, so
 * the first 2048 samples give one AAC frame and each 1024 after them one more; calls that
 * complete no frame return -1 (that is not an error: keep feeding).
 *
 * The handle is the encoder itself: valid from a successful open until ZEPHPLAY_CloseAudioEncoder,
 * which frees it. One thread at a time per handle; handles are independent. Every function with
 * a handle returns -1 when it or any pointer argument is NULL. Calls return when done; nothing
 * is kept of the caller's buffers.
 * ------------------------------------------------------------------------------------------- */

/** Opaque audio encoder: made by ZEPHPLAY_OpenAudioEncoder, freed by ZEPHPLAY_CloseAudioEncoder. */
typedef struct ZEPHPLAY_AUDIOENCODER ZEPHPLAY_AUDIOENCODER;

/** Room an encoding call may need in the frame buffer for length bytes of PCM. */
#define ZEPHPLAY_AUDIO_ENCODER_FRAME_SIZE(length) (12u + (uint32_t)(length) + 768u)

/**
 * Makes an encoder for coderType and stores it in *encoder. Returns 0; -1 when encoder is NULL,
 * memory runs out or the coder type cannot be encoded (*encoder is then untouched).
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioEncoder(ZEPHPLAY_AUDIOENCODER** encoder, uint32_t coderType);

/**
 * Writes the 512-byte audio head of the encoder's stream at head (room for 512 bytes): u16 1,
 * u16 0x6000, u16 coder type, u16 104, zeros. *length receives 512. Returns 0; -1 for NULL.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AudioEncoderHead(ZEPHPLAY_AUDIOENCODER* encoder, uint8_t* head,
                                                             uint32_t* length);

/**
 * Encodes length bytes of PCM: AAC in 1024-byte pieces when length is at least 1024, anything
 * else in 320-byte pieces; a remainder smaller than a piece is dropped. Writes one frame at frame
 * and its length (head included) to *frameLength. Returns 0; -1 for NULL arguments or when
 * nothing came out (*frameLength is then untouched).
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AudioEncoderFrame(ZEPHPLAY_AUDIOENCODER* encoder, const uint8_t* pcm,
                                                              uint32_t length, uint8_t* frame,
                                                              uint32_t* frameLength);

/**
 * Encodes pieces of the *length bytes at pcm until the first one that gives output, and writes
 * that output as one frame. Pieces are 320 bytes; for AAC, one piece of 8192 when *length is
 * exactly 8192, else 1024 when *length is a multiple of 1024. *length returns the bytes consumed
 * (also on -1), *frameLength the frame's length. Returns 0; -1 for NULL arguments or no output.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AudioEncOneFrame(ZEPHPLAY_AUDIOENCODER* encoder, const uint8_t* pcm,
                                                             uint32_t* length, uint8_t* frame,
                                                             uint32_t* frameLength);

/** Frees the encoder, which must not be used again; PCM it still held is dropped. Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseAudioEncoder(ZEPHPLAY_AUDIOENCODER* encoder);

/** The sample rate of an AAC coder type (12: 8000 ... 25: 48000); 0 for any other type. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_GetAacSampleRate(uint32_t coderType);

/* ---------------------------------------------------------------------------------------------
 * Audio file player: plays a file of ADTS AAC frames (such as saved talk-back) on the default
 * output device
 *
 * The whole file is read when play starts (it must be below 100 MiB and open for reading and
 * writing); loading stops at the first bad header and what was read before it plays. The frame
 * rate of the first header sets the pace: a frame lasts 1024000 / rate ms, truncated (21 ms at
 * 48000 Hz, 128 ms at 8000 Hz), and play time counts frames handed to the device.
 *
 * Messages go to the callback on the sound device's thread: code 1 (progress) about once a
 * second, code 2 once when the last frame has been handed out; seconds is the play time / 1000.
 * The callback must not close the player, and should return quickly.
 *
 * The handle is the player itself: valid from ZEPHPLAY_AFPOpen until ZEPHPLAY_AFPClose, which
 * frees it. One caller thread at a time per player. Every function returns 1 for a NULL player.
 * ------------------------------------------------------------------------------------------- */

/** Opaque audio file player: made by ZEPHPLAY_AFPOpen, freed by ZEPHPLAY_AFPClose. */
typedef struct ZEPHPLAY_AFP ZEPHPLAY_AFP;

/** Player message: code 1 progress, 2 end of file; seconds played; the user value given. */
typedef void (ZEPHPLAY_CALL *ZEPHPLAY_AFPMsgCallBack)(int32_t code, uint32_t seconds, uint64_t user);

/** Makes a player in *player. Returns 0; 1 when player is NULL or memory runs out. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPOpen(ZEPHPLAY_AFP** player);

/** Stores the message callback (NULL: none) and its user value. Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPSetFUNMsgCB(ZEPHPLAY_AFP* player, uint64_t user,
                                                           ZEPHPLAY_AFPMsgCallBack callback);

/**
 * Loads the file at path (UTF-8) and starts playing it from the beginning; a player already
 * playing starts over. Returns 0; 1 when path is NULL or the file cannot be opened for reading
 * and writing, is empty or at least 100 MiB, or does not begin with a whole ADTS frame.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPStartPlay(ZEPHPLAY_AFP* player, const char* path);

/** As ZEPHPLAY_AFPStartPlay with a wide-character path. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPStartPlayW(ZEPHPLAY_AFP* player, const wchar_t* path);

/** *ms = frames loaded x frame duration. Returns 0; 1 for NULL arguments. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPGetTotalTime(ZEPHPLAY_AFP* player, uint32_t* ms);

/** *ms = the play time (equal to the total time at the end). Returns 0; 1 for NULL arguments. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPGetPlayTime(ZEPHPLAY_AFP* player, uint32_t* ms);

/** pause non-zero: silence plays and the position holds; zero: play on. Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPPause(ZEPHPLAY_AFP* player, int32_t pause);

/** Stops the sound; the loaded frames and the play time stay. Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPStopPlay(ZEPHPLAY_AFP* player);

/** Stops and frees the player, which must not be used again. Returns 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_AFPClose(ZEPHPLAY_AFP* player);

/* ---------------------------------------------------------------------------------------------
 * Audio capture (talk-back)
 *
 * The microphone (SDL2's default capture device; SDL_AUDIODRIVER=disk with SDL_DISKAUDIOFILEIN
 * reads a raw file instead) recorded as PCM and handed to the caller in whole buffers, cleaned
 * by noise suppression when ZEPHPLAY_SetUseSpeex was non-zero at open (16-bit mono only). The
 * capture-and-encode family (ZEPHPLAY_ACE...) also encodes each buffer in a recorder's audio
 * format and delivers the encoded frames from a worker thread of its own, optionally saving
 * them to a temporary file. Every handle is the object itself; every call but an open returns
 * -1 for a NULL handle. Close a handle from a thread other than its callback's.
 * ------------------------------------------------------------------------------------------- */

/** Opaque capture: made by ZEPHPLAY_OpenAudioCapture(Ex/Aac/PCM), freed by ZEPHPLAY_CloseAudioCapture. */
typedef struct ZEPHPLAY_AUDIOCAPTURE ZEPHPLAY_AUDIOCAPTURE;
/** Opaque capture-and-encode: made by ZEPHPLAY_ACEOpen, freed by ZEPHPLAY_ACEClose. */
typedef struct ZEPHPLAY_ACE ZEPHPLAY_ACE;
/** Opaque echo canceller (ZEPHPLAY_OpenEchoCancellation never makes one at present). */
typedef struct ZEPHPLAY_ECHO ZEPHPLAY_ECHO;

/** The caller's capture format (the WAVEFORMATEX fields); only 1 (PCM) is taken as format tag. */
typedef struct ZEPHPLAY_WAVEFORMAT {
  uint16_t wFormatTag;
  uint16_t nChannels;       /* 1 or 2 */
  uint32_t nSamplesPerSec;
  uint32_t nAvgBytesPerSec; /* not read */
  uint16_t nBlockAlign;     /* not read */
  uint16_t wBitsPerSample;  /* 8 (unsigned) or 16 (signed) */
  uint16_t cbSize;          /* not read */
} ZEPHPLAY_WAVEFORMAT;

/**
 * Receives one captured buffer: PCM bytes (a plain capture), or one encoded frame with its
 * 12-byte head, u32 payload length and u64 stamp (capture-and-encode).
 * Thread: a plain capture calls it on the sound device's capture thread (SDL's); capture-and-
 * encode on its own worker thread. Calls of one handle never overlap.
 * data: valid only during the call; copy what you keep. len: bytes at data. user: the value
 * given at open, passed back unchanged.
 * No call comes once the close of its handle has returned. Inside the callback, any export of
 * other handles may be called; closing its own handle is refused with -1 (it would wait for
 * the callback itself).
 */
typedef void (ZEPHPLAY_CALL *ZEPHPLAY_AudioCaptureCallBack)(const uint8_t* data, uint32_t len, uint64_t user);

/**
 * Starts capturing 16-bit mono PCM at 8000 Hz in buffers of 320 bytes (20 ms) into *capture.
 * callback may be NULL (nothing is delivered). Returns 0; -1 when capture is NULL or the
 * device does not open.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioCapture(ZEPHPLAY_AUDIOCAPTURE** capture, uint64_t user,
                                                            ZEPHPLAY_AudioCaptureCallBack callback);

/** As ZEPHPLAY_OpenAudioCapture at the given rate (Hz), still in buffers of 320 bytes. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioCaptureEx(ZEPHPLAY_AUDIOCAPTURE** capture, uint32_t rate,
                                                              uint64_t user, ZEPHPLAY_AudioCaptureCallBack callback);

/**
 * As ZEPHPLAY_OpenAudioCapture at the AAC rate of an AAC coder type (see
 * ZEPHPLAY_GetAacSampleRate), in buffers of 1024 bytes. -1 also for a coder type that is not AAC.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioCaptureAac(ZEPHPLAY_AUDIOCAPTURE** capture, int32_t coderType,
                                                               uint64_t user, ZEPHPLAY_AudioCaptureCallBack callback);

/**
 * As ZEPHPLAY_OpenAudioCapture in the caller's PCM format and buffer size (bytes). format is
 * read during the call only. -1 also for a NULL format, a size of 0 or a format that is not
 * 8- or 16-bit PCM on 1 or 2 channels.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenAudioCapturePCM(ZEPHPLAY_AUDIOCAPTURE** capture,
                                                               const ZEPHPLAY_WAVEFORMAT* format, uint32_t bufferSize,
                                                               uint64_t user, ZEPHPLAY_AudioCaptureCallBack callback);

/**
 * Stops capturing (a partly filled buffer is dropped), waits for a callback under way and frees
 * the capture. Returns 0; -1 for NULL or when called from inside its own callback (nothing done).
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseAudioCapture(ZEPHPLAY_AUDIOCAPTURE* capture);

/**
 * Starts capturing and encoding for a coder type into *ace: at the coder type's AAC rate in
 * 1024-byte buffers for AAC types, else at 8000 Hz in 320-byte buffers. Each buffer is encoded
 * as ZEPHPLAY_AudioEncoderFrame would (12-byte head, stamp = the millisecond tick x 1000 in 32
 * bits, so it wraps about every 71.6 minutes) and queued (150 frames, 25000 bytes; a full queue
 * is emptied); a worker thread of the object delivers the frames to callback (may be NULL).
 * A coder type without an encoder captures but delivers nothing. Returns 0; -1 when ace is NULL
 * or the device does not open.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ACEOpen(ZEPHPLAY_ACE** ace, int32_t coderType, uint64_t user,
                                                   ZEPHPLAY_AudioCaptureCallBack callback);

/**
 * Stops the worker (waiting for a delivery under way), then the capture, closes a save file and
 * frees the object. Returns 0; -1 for NULL or from inside its own callback (nothing done).
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ACEClose(ZEPHPLAY_ACE* ace);

/**
 * From now on appends each delivered frame's payload (without its 12-byte head) to a new
 * temporary file "AudioFile..." in $TMPDIR (else /tmp), and restarts ZEPHPLAY_ACEGetTime.
 * Returns 0; 1 when a file is open already (it stays) or none can be made; -1 for NULL.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ACEStartSaveToFile(ZEPHPLAY_ACE* ace);

/** Closes the save file, which stays on disk. Returns 1 (always so); -1 for NULL. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ACEStopSaveToFile(ZEPHPLAY_ACE* ace);

/**
 * Copies the last save file's path into path, which must hold 260 characters (at most 259 and
 * the terminator are written; empty before the first save). Returns 0; -1 for NULL arguments.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ACEGetSavePath(ZEPHPLAY_ACE* ace, char* path);

/** As ZEPHPLAY_ACEGetSavePath in wide characters (260 of them). */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ACEGetSavePathW(ZEPHPLAY_ACE* ace, wchar_t* path);

/**
 * *ms = the tick of the last delivery minus that of the first since open or the last
 * ZEPHPLAY_ACEStartSaveToFile. Returns 0; -1 for NULL arguments.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_ACEGetTime(ZEPHPLAY_ACE* ace, uint32_t* ms);

/**
 * Never opens an echo canceller: logs the echo settings of ZEPHPLAY_SetAecParam and returns 1,
 * leaving *echo untouched. Kept so: callers treat 1 as "no echo cancellation here".
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_OpenEchoCancellation(ZEPHPLAY_ECHO** echo, ZEPHPLAY_AUDIOPLAYER* player,
                                                                ZEPHPLAY_AUDIOCAPTURE* capture);

/** Stops and closes an echo canceller. Returns 0; 1 for NULL. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_CloseEchoCancellation(ZEPHPLAY_ECHO* echo);

/* ---------------------------------------------------------------------------------------------
 * Several channels on one clock (multi-play-back group)
 *
 * A group plays 1 to 15 live channels, for instance the cameras of one recorder, in step: each
 * channel has its own stream player in ZEPHPLAY_STREAM_CACHED, and the group keeps one play
 * clock that starts at the first stamp received (again at a stream attribute and at the first
 * key frame of any channel) and advances with real time and the rate. A player shows a picture
 * once its stamp is less than half a second ahead of the clock (late pictures at once); the
 * clock never runs more than 50 ms past the newest frame received by any channel, so input that
 * stops everywhere holds it, while one silent channel holds nobody up.
 *
 * The handle is the group itself, passed as a 64-bit integer: the value ZEPHPLAY_MPBOpenPlayHandle
 * wrote, valid until ZEPHPLAY_MPBClosePlayHandle. Every function returns 0 on success and 1 for
 * a 0 handle or a player index outside 0..count-1 (index: the position of the channel in the
 * table given to ZEPHPLAY_MPBOpenStream); the forwarding functions otherwise return what the
 * single-player function of the same name returns for that player. They may be called from any
 * thread; the callbacks set through a group run on that player's threads, as for a play handle,
 * and the group must not be closed from inside one of them (refused). Inside them the group's
 * getters (ZEPHPLAY_MPBGetPlayStamp, ...) may be called.
 * ------------------------------------------------------------------------------------------- */

/** A group handle (0: none). */
typedef uint64_t ZEPHPLAY_MPBHANDLE;

/** The player index that means every player of the group. */
#define ZEPHPLAY_MPB_ALL 0xFFFFFFFFu

/**
 * Makes a group of count (1..15) stream players in ZEPHPLAY_STREAM_CACHED and writes it to
 * *handle. Returns 0; 1 for a NULL handle or a count outside 1..15 (*handle untouched).
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBOpenPlayHandle(ZEPHPLAY_MPBHANDLE* handle, int32_t count);

/** Stops the clock, closes every player and frees the group. 0; 1 for a 0 handle, and 1 (with
 *  a log line, nothing done) on a thread of one of its players or inside one of their
 *  callbacks (which a step runs on the caller's thread). */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBClosePlayHandle(ZEPHPLAY_MPBHANDLE handle);

/**
 * Stores the channel number of each player (channels holds count numbers; with count 1 any
 * channel reaches the one player), opens every player as ZEPHPLAY_OpenStream does with param,
 * paramValue, videoQueueBytes and unpaced, and starts the clock (a thread waking every 10 ms).
 * Returns 0; 1 for a 0 handle, a NULL channels, or a group opened before (nothing changes).
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBOpenStream(ZEPHPLAY_MPBHANDLE handle, const uint32_t* channels,
                                                          void* param, int32_t paramValue,
                                                          uint32_t videoQueueBytes, uint32_t unpaced);

/**
 * Pushes one whole frame of a channel, as ZEPHPLAY_InputFrameData does for a play handle (type
 * and stamp in microseconds likewise): the frame is cached by the channel's player. A stream
 * attribute (type 1) restarts the clock and goes to every player, as does type 2. Returns the
 * player's result (0; -1 unknown type or NULL data; -3 try again later; -4 type 2); 1 for a 0
 * handle, a group not opened, or a channel not in the table.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBInputFrameData(ZEPHPLAY_MPBHANDLE handle, uint32_t channel,
                                                              const uint8_t* data, uint32_t length, uint32_t type,
                                                              uint64_t stamp);

/** Writes the largest number of seconds any player has cached beyond its play position. 0; 1
 *  for a 0 handle or NULL seconds. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBGetVideoFrameMaxSecond(ZEPHPLAY_MPBHANDLE handle, int32_t* seconds);

/** Writes the clock (µs; 0 before it starts). 0; 1 for a 0 handle or NULL stamp. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBGetPlayStamp(ZEPHPLAY_MPBHANDLE handle, uint64_t* stamp);

/** Sets the clock to stamp, except while it runs and stamp is at or past the newest frame
 *  received (ignored then). 0; 1 for a 0 handle. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetPlayStamp(ZEPHPLAY_MPBHANDLE handle, uint64_t stamp);

/** Sets the clock to stamp, always. Returns 1 although it succeeded: callers have always been
 *  told 1 here. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSeekIFramStamp(ZEPHPLAY_MPBHANDLE handle, uint64_t stamp);

/** Writes the whole seconds from the first stamp to the clock. 0; 1 for a 0 handle or NULL. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBGetPlayTime(ZEPHPLAY_MPBHANDLE handle, uint32_t* seconds);

/** Nonzero pause stops the clock (the players wait for it, their sound plays silence); 0 starts
 *  it again and un-pauses every player (ZEPHPLAY_Pause with 0). 0; 1 for a 0 handle. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBPause(ZEPHPLAY_MPBHANDLE handle, uint32_t pause);

/** Un-pauses the group if it is paused, then sets the clock's rate: 0 or 1 normal, n >= 2 n
 *  times faster, -n n times slower. 0; 1 for a 0 handle. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetPlayRate(ZEPHPLAY_MPBHANDLE handle, int32_t rate);

/**
 * Steps as ZEPHPLAY_PlayOneFrameData does. index ZEPHPLAY_MPB_ALL pauses the clock and steps
 * every player (0); another index steps only that player (its result). 1 for a 0 handle or an
 * index out of range.
 */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBPlayOneFrame(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                            uint32_t backward, uint32_t allowNonKey);

/** Stops the recording of the player at index, or of every player with ZEPHPLAY_MPB_ALL (0).
 *  One player: ZEPHPLAY_StopPlayRecord's result. 1 for a 0 handle or an index out of range. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBStopPlayRecord(ZEPHPLAY_MPBHANDLE handle, uint32_t index);

/* The player at index, as the single-player function of the same name does for a play handle. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetPlayWnd(ZEPHPLAY_MPBHANDLE handle, uint32_t index, void* window);
/** Fits the picture of the player at index to its window again (after a resize), as
 *  ZEPHPLAY_AdjustedWndRect; its result. 1 for a 0 handle or an index out of range. Caller's
 *  thread. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBAdjustedWndRect(ZEPHPLAY_MPBHANDLE handle, uint32_t index);
/** Resizes the video queue of the player at index to bytes, as ZEPHPLAY_StreamSetPlayBuffer; its
 *  result. 1 for a 0 handle or an index out of range. Caller's thread. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBStreamSetPlayBuffer(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                                   uint32_t bytes);
/** Hands the player at index a stream-attribute record, as ZEPHPLAY_SetStreamAttr (attr may be
 *  NULL only with length 0; read during the call only); its result. 1 for a 0 handle or an
 *  index out of range. Caller's thread. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetStreamAttr(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                             const uint8_t* attr, uint32_t length);
/** Stops that player's threads; it shows nothing more until the group is closed. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBCloseStream(ZEPHPLAY_MPBHANDLE handle, uint32_t index);
/** Frames left in the cache of the player at index, as ZEPHPLAY_GetVideoFrameNum; frames may not be
 *  NULL. Its result; 1 for a 0 handle or an index out of range. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBGetVideoFrameNum(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                                uint32_t* frames);
/** Empties the cache and queues of the player at index and stops its recording, as
 *  ZEPHPLAY_ResetStream; its result. 1 for a 0 handle or an index out of range. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBResetStream(ZEPHPLAY_MPBHANDLE handle, uint32_t index);
/** Bytes waiting in the input of the player at index, as ZEPHPLAY_GetSourceBufferRemain; bytes may
 *  not be NULL. Its result; 1 for a 0 handle or an index out of range. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBGetSourceBufferRemain(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                                    uint32_t* bytes);
/** Turns on the sound of the player at index (it follows the group's clock), as ZEPHPLAY_PlaySound;
 *  its result. 1 for a 0 handle or an index out of range. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBPlaySound(ZEPHPLAY_MPBHANDLE handle, uint32_t index);
/** Stops the sound of the player at index, as ZEPHPLAY_StopSound; its result. 1 for a 0 handle or an index out of range. Caller's thread. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBStopSound(ZEPHPLAY_MPBHANDLE handle, uint32_t index);
/** Sets the volume (0..100) of the player at index, as ZEPHPLAY_SetVolume; its result. 1 for a 0 handle or an index out of range. Caller's thread. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetVolume(ZEPHPLAY_MPBHANDLE handle, uint32_t index, uint16_t volume);
/** Sets the user-data callback of the player at index (NULL removes it), as
 *  ZEPHPLAY_SetUsrDataBack: called on that player's decode thread. Its result. 1 for a 0 handle or an index out of range. Caller's thread. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetUsrDataBack(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                              uint64_t user, ZEPHPLAY_UsrDataCallBack callback);
/** Saves the picture the player at index shows as a BMP file at path (not NULL; copied during the
 *  call), as ZEPHPLAY_CaptureBMP; its result. 1 for a 0 handle or an index out of range. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBCaptureBMP(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                          const char* path);
/** Saves the picture the player at index shows as a JPEG file at path (not NULL; copied during the
 *  call), as ZEPHPLAY_CaptureJPEG; its result. 1 for a 0 handle or an index out of range. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBCaptureJPEG(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                           const char* path);
/** Draws the last picture of the player at index again (at most every 500 ms), as
 *  ZEPHPLAY_FlashWnd; its result. 1 for a 0 handle or an index out of range. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBFlashWnd(ZEPHPLAY_MPBHANDLE handle, uint32_t index);
/** only nonzero: the player at index decodes key frames only, as ZEPHPLAY_SetPlayIFrame; its
 *  result. 1 for a 0 handle or an index out of range. Caller's thread. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetPlayIFrame(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                             uint32_t only);
/** index ZEPHPLAY_MPB_ALL sets every player and turns the clock round: it then runs backwards
 *  (towards the first stamp) while backward is nonzero. 0. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetPlayBackIFrame(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                                 uint32_t backward);
/** Sets the colour of the player at index, as ZEPHPLAY_SetColorParams; its result. 1 for a 0 handle
 *  or an index out of range. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetColorParams(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                              uint32_t brightness, uint32_t contrast,
                                                              uint32_t saturation, uint32_t hue, uint32_t reset);
/** Reads the colour of the player at index into the four pointers (none NULL), as
 *  ZEPHPLAY_GetColorParams; its result. 1 for a 0 handle or an index out of range. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBGetColorParams(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                              uint32_t* brightness, uint32_t* contrast,
                                                              uint32_t* saturation, uint32_t* hue);
/** Mirror mode (0 none, 1 left-right, 2 upside down, 3 both) of the player at index, as
 *  ZEPHPLAY_SetMirrorMode; its result. 1 for a 0 handle or an index out of range. Caller's thread. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetMirrorMode(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                             uint32_t mode);
/** Starts recording the frames the player at index receives into path (not NULL, UTF-8, copied
 *  during the call; MP4 for a name ending ".mp4", GREC otherwise), as ZEPHPLAY_StartPlayRecord;
 *  its result. 1 for a 0 handle or an index out of range. Caller's thread. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBStartPlayRecord(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                               const char* path, uint32_t type);
/** The player's recording length in bytes, -1 without one; 1 for a 0 handle or bad index. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBGetPlayRecordStatus(ZEPHPLAY_MPBHANDLE handle, uint32_t index);
/** Also offered for a group's players, so that a caller sees what each channel shows. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetDisplayCallBack(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                                  uint64_t user, ZEPHPLAY_DisplayCallBack callback);
/** Sets the decode callback of the player at index (NULL removes it), as
 *  ZEPHPLAY_SetDecCallBack: called on that player's decode thread. Its result. 1 for a 0 handle or an index out of range. Caller's thread. */
ZEPHPLAY_API int32_t ZEPHPLAY_CALL ZEPHPLAY_MPBSetDecCallBack(ZEPHPLAY_MPBHANDLE handle, uint32_t index,
                                                              uint64_t user, ZEPHPLAY_DecCallBack callback);

#ifdef __cplusplus
}
#endif

#endif /* ZEPHPLAY_H */
