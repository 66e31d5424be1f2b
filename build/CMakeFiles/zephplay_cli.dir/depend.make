# Empty dependencies file for zephplay_cli.
# This may be replaced when dependencies are built.
