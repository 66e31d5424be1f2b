#pragma once
// Child windows laid out in a grid inside the tool's window, one for each channel of a wall,
// each handed to its player by its native handle as an embedding program hands over the panes
// of its own window.
#include <cstdint>
#include <vector>

class ToolTiles {
 public:
  ToolTiles() = default;
  ~ToolTiles();
  ToolTiles(const ToolTiles&) = delete;
  ToolTiles& operator=(const ToolTiles&) = delete;

  // Makes `count` tiles inside the native window `parent`; false when the display cannot be
  // reached (then there are none).
  bool Open(void* parent, uint32_t count);
  // Lays the tiles out again over the parent's current size.
  void Layout();
  // The native handle of tile `index`.
  void* Tile(uint32_t index) const;
  // Columns and rows of a grid for `count` tiles: as square as it gets, wider than tall.
  static void Grid(uint32_t count, uint32_t* columns, uint32_t* rows);

 private:
  void* m_display = nullptr;  // the X connection the tiles were made on
  unsigned long m_parent = 0;
  std::vector<unsigned long> m_tiles;
};
