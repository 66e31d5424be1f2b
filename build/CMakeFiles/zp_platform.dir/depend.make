# Empty dependencies file for zp_platform.
# This may be replaced when dependencies are built.
