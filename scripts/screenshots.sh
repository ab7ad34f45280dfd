#!/usr/bin/env bash
# Takes the editor's screenshots under docs/ on a virtual X server (Xvfb), driving the real editor
# with xdotool and capturing it with ImageMagick's import:
#   docs/documents-page.png   the Documents page, with recent files and the simulated boards' files
#   docs/category-page.png    a category tab of a mode of examples/Example_CL.lumex
#   docs/extra-data.png       the extra-data dialog of that file
#   docs/feature-editors.png  one editor of every kind, from the fixture in scripts/screenshot-fixture
#   docs/changed-on-disk.png  the question when another program changes a file that has unsaved edits
#   docs/problems-dock.png    the Problems dock of the example with six kinds of problem
#   docs/problem-jump.png     the feature its fourth problem goes to, highlighted and focused
# The editor is built as scripts/run.sh builds it, unless ORVEX_EDITOR names a built one.
# ORVEX_SCREENSHOTS takes only the pictures it names (space separated, without ".png").
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
docs="${1:-$top/docs}"
number="${ORVEX_SCREENSHOT_DISPLAY:-98}"
width=1200
height=800

for tool in Xvfb xdotool import; do
    command -v "$tool" >/dev/null || { echo "screenshots: $tool is not installed (scripts/setup.sh)" >&2; exit 1; }
done

editor="${ORVEX_EDITOR:-}"
if [ -z "$editor" ]; then
    build="$top/build/release"
    cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVEX_BUILD_TESTS=OFF >/dev/null
    cmake --build "$build" --target orvex -j 2
    editor="$build/bin/orvex"
fi

work=$(mktemp -d)
xvfb_pid=
editor_pid=
stop_editor() {
    if [ -n "$editor_pid" ]; then
        kill "$editor_pid" 2>/dev/null || true
        wait "$editor_pid" 2>/dev/null || true
        editor_pid=
    fi
}
finish() {
    stop_editor
    [ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null
    wait 2>/dev/null || true
    rm -rf "$work"
}
trap finish EXIT

Xvfb ":$number" -screen 0 "${width}x${height}x24" -nolisten tcp >"$work/xvfb.log" 2>&1 &
xvfb_pid=$!
for _ in $(seq 100); do
    [ -S "/tmp/.X11-unix/X$number" ] && break
    kill -0 "$xvfb_pid" 2>/dev/null || { cat "$work/xvfb.log" >&2; exit 1; }
    sleep 0.1
done
export DISPLAY=":$number"
export QT_QPA_PLATFORM=xcb
# Settings of a user of their own: a known window size and a short list of recent files.
export HOME="$work/home"
mkdir -p "$HOME/.config/Quarnel"
cp "$top/examples/Example_CL.lumex" "$top/examples/Example_CXP.lumex" "$work/"
cat >"$HOME/.config/Quarnel/Orvex.conf" <<EOF
[General]
recent_documents=$work/Example_CL.lumex, $work/Example_CXP.lumex
EOF

# Starts the editor with the given arguments and waits until a window titled as the pattern shows.
start_editor() {
    local title="$1"
    shift
    "$editor" -CFGDIR "$top/config" "$@" >"$work/editor.log" 2>&1 &
    editor_pid=$!
    window=
    for _ in $(seq 300); do
        window=$(xdotool search --onlyvisible --name "$title" 2>/dev/null | head -n 1 || true)
        [ -n "$window" ] && break
        kill -0 "$editor_pid" 2>/dev/null || { cat "$work/editor.log" >&2; exit 1; }
        sleep 0.1
    done
    [ -n "$window" ] || { echo "screenshots: no window titled $title" >&2; cat "$work/editor.log" >&2; exit 1; }
    xdotool windowsize "$window" "$width" "$height" windowmove "$window" 0 0
    xdotool windowfocus --sync "$window"
    sleep 1
}

keys() {
    xdotool key --clearmodifiers --delay 150 "$@"
    sleep 1
}

# The whole screen, or only the window given as the second argument.
shot() {
    import -window "${2:-root}" "$docs/$1"
    echo "screenshots: wrote $docs/$1"
}

# Prints the id of the first visible window titled as the pattern, once there is one.
wait_for_window() {
    local found
    for _ in $(seq 100); do
        found=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | head -n 1 || true)
        [ -n "$found" ] && { sleep 0.5; echo "$found"; return 0; }
        sleep 0.1
    done
    echo "screenshots: no window titled $1" >&2
    exit 1
}

# True when the picture is to be taken this run.
wanted() {
    [ -z "${ORVEX_SCREENSHOTS:-}" ] || [[ " $ORVEX_SCREENSHOTS " == *" $1 "* ]]
}

mkdir -p "$docs"

if wanted documents-page; then
    start_editor '^Orvex$'
    shot documents-page.png
    stop_editor
fi

# The first mode, then its second category.
if wanted category-page || wanted extra-data; then
    start_editor '^Orvex \(' -F "$work/Example_CL.lumex"
    keys ctrl+Next ctrl+Tab
    shot category-page.png
    keys alt+f e
    dialog=$(wait_for_window '^LUMEX Extra Data$')
    shot extra-data.png "$dialog"
    stop_editor
fi

if wanted feature-editors; then
    cp "$top/scripts/screenshot-fixture/FeatureEditors.lumex" "$work/"
    start_editor '^Orvex \(' -CLXSD "$top/scripts/screenshot-fixture/FeatureEditors.xsd" -F "$work/FeatureEditors.lumex"
    keys ctrl+Next
    shot feature-editors.png
    stop_editor
fi

# An unsaved edit (the second mode moved down), then another program rewrites the file.
if wanted changed-on-disk; then
    cp "$top/examples/Example_CL.lumex" "$work/Changed.lumex"
    start_editor '^Orvex \(' -F "$work/Changed.lumex"
    keys ctrl+Next ctrl+Next ctrl+Down
    sed 's/<mode name="Precision"/<mode name="Exact"/' "$work/Changed.lumex" >"$work/Changed.new"
    mv "$work/Changed.new" "$work/Changed.lumex"
    dialog=$(wait_for_window '^Current File Changed$')
    shot changed-on-disk.png
    stop_editor
fi

# The example with six kinds of problem (README, "Checking camera files"); its fourth problem is gone to
# with Enter and taken while the highlight shows.
if wanted problems-dock || wanted problem-jump; then
    sed -e '75s|<Height>512</Height>|<Height>70000</Height>|' -e '76s|Mono8|Mono9|' \
        -e '105s|Enable="true"|Enable="TRUE"|' -e '133s|<Height>2048</Height>|<Height>0x800</Height>|' \
        -e '156s|<Gamma>0.45</Gamma>|<Gamma>0.45</Gamma><lab:darkFrame xmlns:lab="urn:lab">on</lab:darkFrame>|' \
        -e 's|<Entry Index="64" Value="56"/>|<Entry Index="16" Value="56"/>|' \
        "$top/examples/Example_CL.lumex" >"$work/Camera_with_problems.lumex"
    start_editor '^Orvex \(' -F "$work/Camera_with_problems.lumex"
    shot problems-dock.png
    xdotool mousemove 220 617 click 1
    xdotool key --delay 100 Down Down Down Return
    sleep 0.15
    shot problem-jump.png
    stop_editor
fi
