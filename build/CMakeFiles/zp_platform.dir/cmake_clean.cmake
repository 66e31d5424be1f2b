file(REMOVE_RECURSE
  "CMakeFiles/zp_platform.dir/src/platform/CEvent.cpp.o"
  "CMakeFiles/zp_platform.dir/src/platform/CEvent.cpp.o.d"
  "CMakeFiles/zp_platform.dir/src/platform/LocalTime.cpp.o"
  "CMakeFiles/zp_platform.dir/src/platform/LocalTime.cpp.o.d"
  "CMakeFiles/zp_platform.dir/src/platform/ModulePath.cpp.o"
  "CMakeFiles/zp_platform.dir/src/platform/ModulePath.cpp.o.d"
  "CMakeFiles/zp_platform.dir/src/platform/ProcessLimits.cpp.o"
  "CMakeFiles/zp_platform.dir/src/platform/ProcessLimits.cpp.o.d"
  "CMakeFiles/zp_platform.dir/src/platform/TempFile.cpp.o"
  "CMakeFiles/zp_platform.dir/src/platform/TempFile.cpp.o.d"
  "CMakeFiles/zp_platform.dir/src/platform/ThreadId.cpp.o"
  "CMakeFiles/zp_platform.dir/src/platform/ThreadId.cpp.o.d"
  "CMakeFiles/zp_platform.dir/src/platform/Tick.cpp.o"
  "CMakeFiles/zp_platform.dir/src/platform/Tick.cpp.o.d"
  "CMakeFiles/zp_platform.dir/src/platform/WidePath.cpp.o"
  "CMakeFiles/zp_platform.dir/src/platform/WidePath.cpp.o.d"
  "libzp_platform.a"
  "libzp_platform.pdb"
)

# Per-language clean rules from dependency scanning.
foreach(lang CXX)
  include(CMakeFiles/zp_platform.dir/cmake_clean_${lang}.cmake OPTIONAL)
endforeach()
