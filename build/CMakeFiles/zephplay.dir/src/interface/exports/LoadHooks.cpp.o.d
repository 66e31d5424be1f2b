CMakeFiles/zephplay.dir/src/interface/exports/LoadHooks.cpp.o: \
 /work/main/src/interface/exports/LoadHooks.cpp \
 /usr/include/stdc-predef.h /work/main/src/interface/LibraryFrame.h
