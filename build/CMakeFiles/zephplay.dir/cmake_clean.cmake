file(REMOVE_RECURSE
  "CMakeFiles/zephplay.dir/src/interface/exports/LoadHooks.cpp.o"
  "CMakeFiles/zephplay.dir/src/interface/exports/LoadHooks.cpp.o.d"
  "CMakeFiles/zephplay.dir/src/interface/exports/exports_info.cpp.o"
  "CMakeFiles/zephplay.dir/src/interface/exports/exports_info.cpp.o.d"
  "CMakeFiles/zephplay.dir/src/interface/exports/exports_library.cpp.o"
  "CMakeFiles/zephplay.dir/src/interface/exports/exports_library.cpp.o.d"
  "libzephplay.pdb"
  "libzephplay.so"
  "libzephplay.so.1"
  "libzephplay.so.1.0.0"
)

# Per-language clean rules from dependency scanning.
foreach(lang CXX)
  include(CMakeFiles/zephplay.dir/cmake_clean_${lang}.cmake OPTIONAL)
endforeach()
