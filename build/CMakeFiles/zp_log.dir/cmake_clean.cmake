file(REMOVE_RECURSE
  "CMakeFiles/zp_log.dir/src/interface/log/CLogFile2.cpp.o"
  "CMakeFiles/zp_log.dir/src/interface/log/CLogFile2.cpp.o.d"
  "CMakeFiles/zp_log.dir/src/interface/log/LogAccess.cpp.o"
  "CMakeFiles/zp_log.dir/src/interface/log/LogAccess.cpp.o.d"
  "libzp_log.a"
  "libzp_log.pdb"
)

# Per-language clean rules from dependency scanning.
foreach(lang CXX)
  include(CMakeFiles/zp_log.dir/cmake_clean_${lang}.cmake OPTIONAL)
endforeach()
