file(REMOVE_RECURSE
  "libzp_log.a"
)
