file(REMOVE_RECURSE
  "libzp_config.a"
)
