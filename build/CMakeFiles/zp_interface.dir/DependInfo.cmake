
# Consider dependencies only in project.
set(CMAKE_DEPENDS_IN_PROJECT_ONLY OFF)

# The set of languages for which implicit dependencies are needed:
set(CMAKE_DEPENDS_LANGUAGES
  )

# The set of dependency files which are needed:
set(CMAKE_DEPENDS_DEPENDENCY_FILES
  "/work/main/src/interface/LibraryFrame.cpp" "CMakeFiles/zp_interface.dir/src/interface/LibraryFrame.cpp.o" "gcc" "CMakeFiles/zp_interface.dir/src/interface/LibraryFrame.cpp.o.d"
  "/work/main/src/interface/PlayHandle.cpp" "CMakeFiles/zp_interface.dir/src/interface/PlayHandle.cpp.o" "gcc" "CMakeFiles/zp_interface.dir/src/interface/PlayHandle.cpp.o.d"
  )

# Targets to which this target links.
set(CMAKE_TARGET_LINKED_INFO_FILES
  "/work/main/build/CMakeFiles/zp_player.dir/DependInfo.cmake"
  "/work/main/build/CMakeFiles/zp_common.dir/DependInfo.cmake"
  "/work/main/build/CMakeFiles/zp_config.dir/DependInfo.cmake"
  "/work/main/build/CMakeFiles/zp_log.dir/DependInfo.cmake"
  "/work/main/build/CMakeFiles/zp_platform.dir/DependInfo.cmake"
  )

# Fortran module output directory.
set(CMAKE_Fortran_TARGET_MODULE_DIR "")
