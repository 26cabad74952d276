#!/usr/bin/env bash
# Made the effect pictures and the application icon once (ImageMagick); kept so they can be
# remade or changed. White line drawings on transparent, drawn at twice the size they are shown.
set -euo pipefail
cd "$(dirname "$0")"

face() {  # face OUTPUT DRAWING...: a round head with the given features
  local output=$1
  shift
  convert -size 128x128 xc:none -fill none -stroke white -strokewidth 6 \
    -draw "circle 64,68 64,22" "$@" "images/$output.png"
}

face NormalVoice \
  -draw "fill white circle 48,58 48,63" -draw "fill white circle 80,58 80,63" \
  -draw "ellipse 64,86 12,8 0,360"
face MonsterVoice \
  -draw "polyline 34,34 22,6 50,26" -draw "polyline 94,34 106,6 78,26" \
  -draw "line 38,50 56,60" -draw "line 90,50 72,60" \
  -draw "polyline 40,84 48,94 56,84 64,94 72,84 80,94 88,84"
face ChipmunkVoice \
  -draw "circle 30,30 30,16" -draw "circle 98,30 98,16" \
  -draw "fill white circle 50,60 50,64" -draw "fill white circle 78,60 78,64" \
  -draw "line 52,80 76,80" -draw "rectangle 56,80 72,98" -draw "line 64,80 64,98"

# The route button's glyph: a screen with a wedge rising into it from below.
convert -size 64x64 xc:none -fill none -stroke white -strokewidth 5 \
  -draw "polyline 18,44 8,44 8,10 56,10 56,44 46,44" \
  -fill white -stroke none -draw "polygon 32,32 48,56 16,56" images/Route.png

# The icon: the Talk button's white ring on the screen's dark ground, with a voice in it.
convert -size 256x256 xc:none -fill '#14181f' -draw "roundrectangle 8,8 248,248 48,48" \
  -fill none -stroke white -strokewidth 12 -draw "circle 128,128 128,40" \
  -strokewidth 10 -draw "line 88,112 88,144" -draw "line 108,92 108,164" \
  -draw "line 128,76 128,180" -draw "line 148,92 148,164" -draw "line 168,112 168,144" \
  orvane.png
