file(REMOVE_RECURSE
  "CMakeFiles/zephplay_cli.dir/tools/zephplay.cpp.o"
  "CMakeFiles/zephplay_cli.dir/tools/zephplay.cpp.o.d"
  "zephplay"
  "zephplay.pdb"
)

# Per-language clean rules from dependency scanning.
foreach(lang CXX)
  include(CMakeFiles/zephplay_cli.dir/cmake_clean_${lang}.cmake OPTIONAL)
endforeach()
