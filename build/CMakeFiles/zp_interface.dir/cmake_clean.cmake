file(REMOVE_RECURSE
  "CMakeFiles/zp_interface.dir/src/interface/LibraryFrame.cpp.o"
  "CMakeFiles/zp_interface.dir/src/interface/LibraryFrame.cpp.o.d"
  "CMakeFiles/zp_interface.dir/src/interface/PlayHandle.cpp.o"
  "CMakeFiles/zp_interface.dir/src/interface/PlayHandle.cpp.o.d"
  "libzp_interface.a"
  "libzp_interface.pdb"
)

# Per-language clean rules from dependency scanning.
foreach(lang CXX)
  include(CMakeFiles/zp_interface.dir/cmake_clean_${lang}.cmake OPTIONAL)
endforeach()
