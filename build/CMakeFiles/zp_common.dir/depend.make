# Empty dependencies file for zp_common.
# This may be replaced when dependencies are built.
