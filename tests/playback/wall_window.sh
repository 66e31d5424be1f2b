#!/bin/sh
# zephplay wall with six channels of STREAM in a window on an Xvfb display of its own: every
# player adopts its tile on its own thread at once. Grabs the window while they play (again
# until every tile shows something, so that a slow start is not taken for a failure) and prints
# the last grab's mean brightness of each tile (0..1, black is 0), the wall's exit code and its
# summary.
zp=$1 stream=$2 out=$3
Xvfb -displayfd 1 -screen 0 800x600x24 -nolisten tcp > "$out.display" 2> /dev/null & X=$!
trap 'kill $X 2> /dev/null' EXIT
for i in $(seq 150); do [ -s "$out.display" ] && break; sleep 0.1; done
export DISPLAY=:$(cat "$out.display")
"$zp" wall --mute "$stream" "$stream" "$stream" "$stream" "$stream" "$stream" > "$out.wall" 2>&1 & P=$!
: > "$out.tiles"
for i in $(seq 40); do
  sleep 0.2
  kill -0 $P 2> /dev/null || break
  xwd -silent -name "zephplay wall" 2> /dev/null | convert xwd:- -crop 3x2@ +repage -format "tile %[fx:mean]\n" info: \
    > "$out.grab" 2> /dev/null
  [ "$(grep -c '^tile' "$out.grab")" = 6 ] && cp "$out.grab" "$out.tiles"
  [ "$(grep -c 'tile 0\.0*[1-9]' "$out.tiles")" = 6 ] && break
done
cat "$out.tiles"
wait $P; echo "wall=$?"; cat "$out.wall"
