# Empty dependencies file for zp_log.
# This may be replaced when dependencies are built.
