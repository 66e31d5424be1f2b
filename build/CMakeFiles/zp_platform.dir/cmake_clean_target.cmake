file(REMOVE_RECURSE
  "libzp_platform.a"
)
