#include "ToolWindow.h"

#include <SDL2/SDL_syswm.h>

#include <cstdio>
#include <cstdlib>

ToolWindow::~ToolWindow() {
  if (m_window != nullptr) {
    SDL_DestroyWindow(m_window);
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
  }
}

bool ToolWindow::Open(const char* title, uint32_t width, uint32_t height, void** native, std::string* why) {
  if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
    *why = SDL_GetError();
    return false;
  }
  m_window = SDL_CreateWindow(title, SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, width != 0 ? width : 640,
                              height != 0 ? height : 360, SDL_WINDOW_RESIZABLE);
  SDL_SysWMinfo wm;
  SDL_VERSION(&wm.version);
  if (m_window == nullptr || !SDL_GetWindowWMInfo(m_window, &wm) || wm.subsystem != SDL_SYSWM_X11) {
    *why = m_window == nullptr ? SDL_GetError() : "not an X11 window";
    return false;
  }
  *native = reinterpret_cast<void*>(static_cast<uintptr_t>(wm.info.x11.window));
  return true;
}

void* OpenToolWindow(ToolWindow* window, bool headless, const char* title, uint32_t width, uint32_t height) {
  const char* display = std::getenv("DISPLAY");
  if (headless || display == nullptr || display[0] == '\0') {
    return nullptr;
  }
  void* native = nullptr;
  std::string why;
  if (!window->Open(title, width, height, &native, &why)) {
    std::fprintf(stderr, "zephplay: no window (%s), playing headless\n", why.c_str());
    return nullptr;
  }
  return native;
}
