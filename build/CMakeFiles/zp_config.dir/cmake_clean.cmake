file(REMOVE_RECURSE
  "CMakeFiles/zp_config.dir/src/interface/config/CIniFile.cpp.o"
  "CMakeFiles/zp_config.dir/src/interface/config/CIniFile.cpp.o.d"
  "CMakeFiles/zp_config.dir/src/interface/config/CLibraryConfig.cpp.o"
  "CMakeFiles/zp_config.dir/src/interface/config/CLibraryConfig.cpp.o.d"
  "CMakeFiles/zp_config.dir/src/interface/config/Settings.cpp.o"
  "CMakeFiles/zp_config.dir/src/interface/config/Settings.cpp.o.d"
  "libzp_config.a"
  "libzp_config.pdb"
)

# Per-language clean rules from dependency scanning.
foreach(lang CXX)
  include(CMakeFiles/zp_config.dir/cmake_clean_${lang}.cmake OPTIONAL)
endforeach()
