
# Consider dependencies only in project.
set(CMAKE_DEPENDS_IN_PROJECT_ONLY OFF)

# The set of languages for which implicit dependencies are needed:
set(CMAKE_DEPENDS_LANGUAGES
  )

# The set of dependency files which are needed:
set(CMAKE_DEPENDS_DEPENDENCY_FILES
  "/work/main/src/platform/CEvent.cpp" "CMakeFiles/zp_platform.dir/src/platform/CEvent.cpp.o" "gcc" "CMakeFiles/zp_platform.dir/src/platform/CEvent.cpp.o.d"
  "/work/main/src/platform/LocalTime.cpp" "CMakeFiles/zp_platform.dir/src/platform/LocalTime.cpp.o" "gcc" "CMakeFiles/zp_platform.dir/src/platform/LocalTime.cpp.o.d"
  "/work/main/src/platform/ModulePath.cpp" "CMakeFiles/zp_platform.dir/src/platform/ModulePath.cpp.o" "gcc" "CMakeFiles/zp_platform.dir/src/platform/ModulePath.cpp.o.d"
  "/work/main/src/platform/ProcessLimits.cpp" "CMakeFiles/zp_platform.dir/src/platform/ProcessLimits.cpp.o" "gcc" "CMakeFiles/zp_platform.dir/src/platform/ProcessLimits.cpp.o.d"
  "/work/main/src/platform/TempFile.cpp" "CMakeFiles/zp_platform.dir/src/platform/TempFile.cpp.o" "gcc" "CMakeFiles/zp_platform.dir/src/platform/TempFile.cpp.o.d"
  "/work/main/src/platform/ThreadId.cpp" "CMakeFiles/zp_platform.dir/src/platform/ThreadId.cpp.o" "gcc" "CMakeFiles/zp_platform.dir/src/platform/ThreadId.cpp.o.d"
  "/work/main/src/platform/Tick.cpp" "CMakeFiles/zp_platform.dir/src/platform/Tick.cpp.o" "gcc" "CMakeFiles/zp_platform.dir/src/platform/Tick.cpp.o.d"
  "/work/main/src/platform/WidePath.cpp" "CMakeFiles/zp_platform.dir/src/platform/WidePath.cpp.o" "gcc" "CMakeFiles/zp_platform.dir/src/platform/WidePath.cpp.o.d"
  )

# Targets to which this target links.
set(CMAKE_TARGET_LINKED_INFO_FILES
  )

# Fortran module output directory.
set(CMAKE_Fortran_TARGET_MODULE_DIR "")
