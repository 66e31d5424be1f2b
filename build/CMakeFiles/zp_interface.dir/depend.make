# Empty dependencies file for zp_interface.
# This may be replaced when dependencies are built.
