#!/bin/sh
# zephplay convert IN OUT, then what `zephplay info --json` reads from both. Prints convert's exit
# code and summary, both readings, then "copy matches" when the copy holds the video the library
# reads from IN (codec, picture size, frames, key frames) and its sound's codec, over the same
# length within one picture (40 ms).
zp=$1 in=$2 out=$3
"$zp" convert "$in" "$out" 2>&1
echo "convert=$?"
"$zp" info "$in" --json > "$out.source.json" && "$zp" info "$out" --json > "$out.copy.json" || exit 1
cat "$out.source.json" "$out.copy.json"
fields() {
  sed -n 's/.*"duration_ms": \([0-9]*\),.*"video_codec": \("[^"]*", "width": [0-9]*, "height": [0-9]*, "video_frames": [0-9]*, "key_frames": [0-9]*, "audio_codec": "[^"]*"\).*/\1 \2/p' "$1"
}
source=$(fields "$out.source.json") copy=$(fields "$out.copy.json")
gap=$((${source%% *} - ${copy%% *}))
[ -n "$copy" ] && [ "${source#* }" = "${copy#* }" ] && [ "${gap#-}" -le 40 ] && echo "copy matches"
