// Leaks that belong to third-party libraries, not to us, for leak-checking builds of the programs
// that make or play sample material:
// - libx265 3.5 keeps a few allocations of every encoder it opens (parameter strings, frame
//   filter buffers) past x265_encoder_close;
// - SDL's X11 video opens a D-Bus connection that libdbus keeps for the life of the process,
//   and SDL keeps a few blocks of its video subsystem (hints, the foreign window's record) that
//   only SDL_Quit frees, which the library never calls while its host may still use SDL;
// - Mesa's software GL driver, which SDL's renderer loads under Xvfb, keeps a few blocks of its
//   screen after the display closes.
#include <dlfcn.h>

extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libx265.so\n"
         "leak:libdbus-1.so\n"
         "leak:libSDL2-2.0.so\n"
         "leak:swrast_dri.so\n";
}

#if defined(__SANITIZE_ADDRESS__)
#define ZP_LEAK_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZP_LEAK_CHECKED 1
#endif
#endif

#ifdef ZP_LEAK_CHECKED
namespace {

// The GL loader unloads the driver when the display closes, so the leak report at exit could no
// longer name the library behind those blocks; pinning it keeps the suppression above matching.
// Where the driver is elsewhere or absent this does nothing.
[[maybe_unused]] const bool kGlDriverPinned =
    dlopen("/usr/lib/x86_64-linux-gnu/dri/swrast_dri.so", RTLD_LAZY | RTLD_NODELETE) != nullptr;

}  // namespace
#endif
