#!/usr/bin/env bash
# Builds the editor (optimised, no sanitizers) and starts it on the bundled configuration
# with an example camera file. Extra arguments go to the editor instead of the example.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/setup.sh"

build="$top/build/release"
cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVEX_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" --target orvex

args=("$@")
if [ ${#args[@]} -eq 0 ]; then
    example=$(ls "$top"/examples/*.lumex 2>/dev/null | head -n 1 || true)
    [ -n "$example" ] && args=(-F "$example")
fi

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    # No screen to show the window on: run it on a virtual X server, say so, and show it as a picture.
    number=99
    while [ -e "/tmp/.X11-unix/X$number" ] || [ -e "/tmp/.X$number-lock" ]; do number=$((number + 1)); done
    screen=":$number"
    shot="$build/orvex-screenshot.png"
    Xvfb "$screen" -screen 0 1600x1000x24 -nolisten tcp >/dev/null 2>&1 &
    server=$!
    sleep 1
    DISPLAY=$screen "$build/bin/orvex" "${args[@]}" &
    editor=$!
    trap 'kill "$editor" 2>/dev/null; wait "$editor" 2>/dev/null; kill "$server" 2>/dev/null' EXIT
    trap 'exit 130' INT TERM
    echo "run: no display found, so the editor runs on the virtual X server $screen (process $editor)," >&2
    echo "run: where no window can be seen. Stop it with Ctrl+C here, or from elsewhere: kill $editor" >&2
    sleep 5
    if kill -0 "$editor" 2>/dev/null && DISPLAY=$screen import -window root "$shot" 2>/dev/null; then
        echo "run: a screenshot of the editor is in $shot" >&2
        echo "run: take another with: DISPLAY=$screen import -window root shot.png" >&2
    fi
    wait "$editor"
    exit $?
fi
exec "$build/bin/orvex" "${args[@]}"
