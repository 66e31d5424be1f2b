CMakeFiles/zp_player.dir/src/player/CBasePlayer.cpp.o: \
 /work/main/src/player/CBasePlayer.cpp /usr/include/stdc-predef.h \
 /work/main/src/player/CBasePlayer.h
