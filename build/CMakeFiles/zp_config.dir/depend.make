# Empty dependencies file for zp_config.
# This may be replaced when dependencies are built.
