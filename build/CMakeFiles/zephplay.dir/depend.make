# Empty dependencies file for zephplay.
# This may be replaced when dependencies are built.
