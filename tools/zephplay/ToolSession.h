#pragma once
// What the play and live commands share around their player: the main loop, which ticks the
// session every 50 ms and, with a window, hands it the keys and resizes; and Ctrl-C.
#include <cstdint>

class ToolWindow;

class ToolSession {
 public:
  virtual ~ToolSession() = default;
  // One pass of the main loop; false when playing is over.
  virtual bool Tick(uint32_t nowMs) = 0;
  // Handles one key (its unshifted X keysym: XK_space, XK_Left, ...); false for quit.
  virtual bool Key(unsigned long keysym) = 0;
  virtual void WindowResized() = 0;
  // Prints the summary; returns the exit code.
  virtual int Finish() = 0;
};

// Runs the session until it is over, with the window's events when there is a window (null:
// headless); the exit code.
int RunToolSession(ToolSession* session, ToolWindow* window);
// The millisecond clock the sessions are ticked with.
uint32_t ToolNowMs();
// Ctrl-C sets a flag (ToolInterrupted) rather than killing the process, so the summary comes.
void CatchInterrupt();
bool ToolInterrupted();
