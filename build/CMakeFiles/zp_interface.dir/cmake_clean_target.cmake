file(REMOVE_RECURSE
  "libzp_interface.a"
)
