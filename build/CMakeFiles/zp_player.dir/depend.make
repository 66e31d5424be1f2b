# Empty dependencies file for zp_player.
# This may be replaced when dependencies are built.
