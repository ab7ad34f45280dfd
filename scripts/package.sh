#!/usr/bin/env bash
# Builds the Debian package (a Release build of only orvex and orvex-tool, in build/package) and checks
# it the way a user meets it: unpacked into a temporary root, the installed orvex-tool must load the
# installed examples against the installed configuration folder, found on its own; a file without the
# .lumex suffix must still be known by its content; and the desktop entry, the AppStream metadata and
# the package itself must pass their validators. Prints the path of the package last.
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)
"$top/scripts/setup.sh"

build="$top/build/package"
jobs=$(nproc 2>/dev/null || echo 2)
cmake -S "$top" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DORVEX_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j "$jobs" --target orvex orvex-tool orvex_packaging_files
rm -f "$build"/orvex_*.deb
(cd "$build" && cpack -G DEB >/dev/null)
deb=$(echo "$build"/orvex_*.deb)

root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
dpkg-deb -x "$deb" "$root"
share="$root/usr/share"

step() { echo "== $*"; }

step "installed orvex-tool on the installed examples"
env -u QNConfigDir QT_QPA_PLATFORM=offscreen "$root/usr/bin/orvex-tool" check \
    "$share"/orvex/Config/*/*.lumex "$share"/doc/orvex/examples/*.lumex

step "the type of camera files, by name and by content"
update-mime-database "$share/mime" >/dev/null 2>&1
cp "$share/doc/orvex/examples/Example_CL.lumex" "$root/camera-file"
for file in "$share/doc/orvex/examples/Example_CXP.lumex" "$root/camera-file"; do
    type=$(XDG_DATA_HOME="$share" XDG_DATA_DIRS="$share:/usr/share" \
        gio info -a standard::content-type "$file" | sed -n 's/^ *standard::content-type: //p')
    echo "$(basename "$file"): $type"
    [ "$type" = application/x-lumex ] || { echo "package: expected application/x-lumex" >&2; exit 1; }
done

step desktop-file-validate
desktop-file-validate "$share"/applications/*.desktop

step "appstreamcli validate"
appstreamcli validate --no-net "$share"/metainfo/*.metainfo.xml

step lintian
lintian --fail-on error "$deb"

echo "$deb"
