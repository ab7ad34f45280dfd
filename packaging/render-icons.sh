#!/usr/bin/env bash
# Renders the PNG sizes of the icon from orvex.svg (librsvg2-bin); run after changing the drawing and
# commit the result, so that building never needs the renderer.
set -euo pipefail
cd "$(dirname "$0")"
for size in 16 24 32 48 64 128 256; do
    rsvg-convert -w "$size" -h "$size" orvex.svg -o "icons/orvex-$size.png"
done
