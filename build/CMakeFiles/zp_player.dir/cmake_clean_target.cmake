file(REMOVE_RECURSE
  "libzp_player.a"
)
