#!/bin/sh
# zephplay send STREAM (with the options after the third argument) to zephplay live, which
# records into OUT.grec. Prints live's exit code, both summaries and the recording's information,
# then "frames match" when the frames live counted are those send sent and those recorded.
zp=$1 stream=$2 out=$3
shift 3
"$zp" send "$stream" --port 0 "$@" > "$out.send" &
sender=$!
for i in $(seq 100); do
  port=$(sed -n 's/^serving .* on 127\.0\.0\.1:\([0-9]*\)$/\1/p' "$out.send")
  [ -n "$port" ] && break
  sleep 0.1
done
"$zp" live "tcp://127.0.0.1:$port" --headless --mute --record "$out.grec" > "$out.live" 2>&1
echo "live=$?"
wait $sender
"$zp" info "$out.grec" --json > "$out.json"
cat "$out.send" "$out.live" "$out.json"
sent=$(sed -n 's/.* \([0-9]*\) frames sent.*/\1/p' "$out.send")
received=$(sed -n 's/.* \([0-9]*\) video and \([0-9]*\) audio frames received.*/\1 \2/p' "$out.live")
recorded=$(sed -n 's/.*"video_frames": \([0-9]*\),.*"audio_frames": \([0-9]*\)}$/\1 \2/p' "$out.json")
set -- $received
[ -n "$sent" ] && [ "$(($1 + $2))" = "$sent" ] && [ "$recorded" = "$received" ] && echo "frames match"
