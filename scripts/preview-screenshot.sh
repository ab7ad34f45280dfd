#!/usr/bin/env bash
# Takes docs/preview.png: the acquisition preview of the shipped simulated CoaXPress board with
# examples/Example_CXP.lumex in mode "Default", acquiring, on a virtual X server (Xvfb) captured with
# ImageMagick's import. The preview is tools/preview-demo, built here in build/screenshot unless
# ORVEX_PREVIEW_DEMO names an already built one.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
output="${1:-$top/docs/preview.png}"
number="${ORVEX_SCREENSHOT_DISPLAY:-97}"

for tool in Xvfb import; do
    command -v "$tool" >/dev/null || { echo "preview-screenshot: $tool is not installed" >&2; exit 1; }
done

demo="${ORVEX_PREVIEW_DEMO:-}"
if [ -z "$demo" ]; then
    build="$top/build/screenshot"
    cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
    cmake --build "$build" --target preview-demo -j 2
    demo="$build/bin/preview-demo"
fi

work=$(mktemp -d)
xvfb_pid=
demo_pid=
finish() {
    [ -n "$demo_pid" ] && kill "$demo_pid" 2>/dev/null
    [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap finish EXIT

Xvfb ":$number" -screen 0 1024x720x24 -nolisten tcp >"$work/xvfb.log" 2>&1 &
xvfb_pid=$!
for _ in $(seq 100); do
    [ -S "/tmp/.X11-unix/X$number" ] && break
    kill -0 "$xvfb_pid" 2>/dev/null || { cat "$work/xvfb.log" >&2; exit 1; }
    sleep 0.1
done

DISPLAY=":$number" QT_QPA_PLATFORM=xcb HOME="$work" \
    "$demo" "$top/config" "$top/examples/Example_CXP.lumex" Default 60 >"$work/demo.log" 2>&1 &
demo_pid=$!
for _ in $(seq 300); do
    grep -q "preview ready" "$work/demo.log" && break
    kill -0 "$demo_pid" 2>/dev/null || { cat "$work/demo.log" >&2; exit 1; }
    sleep 0.1
done
grep -q "preview ready" "$work/demo.log" || { echo "preview-screenshot: no frames shown" >&2; exit 1; }

mkdir -p "$(dirname "$output")"
DISPLAY=":$number" import -window root "$output"
echo "preview-screenshot: wrote $output"
