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
    echo "run: no display found; starting on a virtual X server (xvfb-run)" >&2
    exec xvfb-run -a -s "-screen 0 1600x1000x24" "$build/bin/orvex" "${args[@]}"
fi
exec "$build/bin/orvex" "${args[@]}"
