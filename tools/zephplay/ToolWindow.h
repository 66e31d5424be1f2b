#pragma once
// The tool's own window, handed to the library by its native handle as an embedding program
// hands its window over. Plain Xlib on a connection of its own, not SDL: the library draws
// through SDL from its players' threads, and SDL's window list is not safe to change on one
// thread (the library adopting this window) while another pumps SDL's events.
#include <cstdint>
#include <string>

class ToolWindow {
 public:
  // What the window reports to the main loop.
  struct Event {
    enum Kind { kNone, kKey, kResized, kClosed } kind = kNone;
    unsigned long keysym = 0;  // kKey: the key's unshifted X keysym (XK_space, XK_Left, ...)
  };

  ToolWindow() = default;
  ~ToolWindow();
  ToolWindow(const ToolWindow&) = delete;
  ToolWindow& operator=(const ToolWindow&) = delete;

  // False (with the reason in *why) when no window can be made here. A size of 0 takes 640x360.
  bool Open(const char* title, uint32_t width, uint32_t height, std::string* why);
  // The window's native handle (its X window id) for ZEPHPLAY_SetPlayWnd.
  void* Native() const;
  // The next event, waiting up to `timeoutMs` for one; kNone when none came.
  Event Next(uint32_t timeoutMs);

 private:
  Event Translate(void* xevent);

  void* m_display = nullptr;
  unsigned long m_window = 0;
  unsigned long m_deleteAtom = 0;
  int m_width = 0;
  int m_height = 0;
};

// The native window for a player, or null when there is no display, --headless was given or
// no window could be made (then a line says why and playback goes on headless).
void* OpenToolWindow(ToolWindow* window, bool headless, const char* title, uint32_t width, uint32_t height);
