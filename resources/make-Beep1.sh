#!/usr/bin/env bash
# Made Beep1.m4a once; kept so the chime can be remade or changed. Two bell-like partials
# (E6 and B6) with a 4 ms attack and a logarithmic decay, cut after a quarter second with a 6 ms
# fade so the chime sounds up to its last moment and a take follows it without a pause; 8 dB
# below full scale, encoded like a take (AAC in MPEG-4, 44100 Hz, mono) so it joins a take without a
# format change.
set -euo pipefail
cd "$(dirname "$0")"
chime=$(mktemp --suffix=.wav)
trap 'rm -f "$chime"' EXIT
sox -n -r 44100 -c 1 -b 16 "$chime" synth 0.5 sine 1318.5 sine mix 1975.5 \
  fade l 0.004 0.5 0.46 trim 0 0.25 fade t 0 0.25 0.006 gain -8
gst-launch-1.0 -q filesrc location="$chime" ! wavparse ! audioconvert ! avenc_aac \
  ! mp4mux ! filesink location=Beep1.m4a
