file(REMOVE_RECURSE
  "CMakeFiles/zp_player.dir/src/player/CBasePlayer.cpp.o"
  "CMakeFiles/zp_player.dir/src/player/CBasePlayer.cpp.o.d"
  "libzp_player.a"
  "libzp_player.pdb"
)

# Per-language clean rules from dependency scanning.
foreach(lang CXX)
  include(CMakeFiles/zp_player.dir/cmake_clean_${lang}.cmake OPTIONAL)
endforeach()
