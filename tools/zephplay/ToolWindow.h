#pragma once
// The tool's own window, handed to the library by its native handle as an embedding program
// hands its window over.
#include <SDL2/SDL.h>

#include <cstdint>
#include <string>

class ToolWindow {
 public:
  ToolWindow() = default;
  ~ToolWindow();
  ToolWindow(const ToolWindow&) = delete;
  ToolWindow& operator=(const ToolWindow&) = delete;

  // False (with the reason in *why) when no window can be made here. A size of 0 takes 640x360.
  bool Open(const char* title, uint32_t width, uint32_t height, void** native, std::string* why);

 private:
  SDL_Window* m_window = nullptr;
};

// The native window for a player, or null when there is no display, --headless was given or
// no window could be made (then a line says why and playback goes on headless).
void* OpenToolWindow(ToolWindow* window, bool headless, const char* title, uint32_t width, uint32_t height);
