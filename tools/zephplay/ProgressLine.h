#pragma once
// A status line that rewrites itself on a terminal (stderr) and stays silent elsewhere, so that
// logs and pipes get only the summary.

class ProgressLine {
 public:
  ProgressLine();
  // Rewrites the line; `last` ends it with a newline so that the summary follows below it.
  void Print(bool last, const char* format, ...) __attribute__((format(printf, 3, 4)));
  // Wipes the line so that another message can take its place.
  void Clear();

 private:
  bool m_terminal;
  bool m_shown = false;
};
