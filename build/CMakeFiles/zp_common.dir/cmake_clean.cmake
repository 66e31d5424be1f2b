file(REMOVE_RECURSE
  "CMakeFiles/zp_common.dir/src/common/CFrameQueue.cpp.o"
  "CMakeFiles/zp_common.dir/src/common/CFrameQueue.cpp.o.d"
  "CMakeFiles/zp_common.dir/src/common/CThreadBase.cpp.o"
  "CMakeFiles/zp_common.dir/src/common/CThreadBase.cpp.o.d"
  "CMakeFiles/zp_common.dir/src/common/ColorTables.cpp.o"
  "CMakeFiles/zp_common.dir/src/common/ColorTables.cpp.o.d"
  "libzp_common.a"
  "libzp_common.pdb"
)

# Per-language clean rules from dependency scanning.
foreach(lang CXX)
  include(CMakeFiles/zp_common.dir/cmake_clean_${lang}.cmake OPTIONAL)
endforeach()
