#!/bin/sh
# zephplay wall with six channels of STREAM in a window on an Xvfb display of its own: every
# player adopts its tile on its own thread at once. Grabs the window while they play and prints
# the wall's exit code, its summary and the mean brightness of each tile (0..1, black is 0).
zp=$1 stream=$2 out=$3
Xvfb -displayfd 1 -screen 0 800x600x24 -nolisten tcp > "$out.display" 2> /dev/null & X=$!
trap 'kill $X 2> /dev/null' EXIT
for i in $(seq 150); do [ -s "$out.display" ] && break; sleep 0.1; done
export DISPLAY=:$(cat "$out.display")
"$zp" wall --mute "$stream" "$stream" "$stream" "$stream" "$stream" "$stream" > "$out.wall" 2>&1 & P=$!
sleep 1.2
xwd -silent -name "zephplay wall" | convert xwd:- -crop 3x2@ +repage -format "tile %[fx:mean]\n" info:
wait $P; echo "wall=$?"; cat "$out.wall"
