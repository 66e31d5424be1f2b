file(REMOVE_RECURSE
  "libzp_common.a"
)
