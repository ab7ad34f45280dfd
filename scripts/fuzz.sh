#!/usr/bin/env bash
# Builds the libFuzzer harnesses with clang into build/fuzz and runs one of them (or each in turn)
# for the given number of seconds. The corpus grows in fuzz/corpus/<harness>/, seeded from config/,
# examples/ and the hostile regression files; crashes, hangs, memory blow-ups and leaks are kept in
# fuzz/findings/<harness>/.
#
#   scripts/fuzz.sh markup|camerafile|schema|all [seconds, default 600]
#   scripts/fuzz.sh markup 0 fuzz/findings/markup/crash-...   replays one input instead
set -euo pipefail
top=$(cd "$(dirname "$0")/.." && pwd)

usage() {
    echo "usage: $0 markup|camerafile|schema|all [seconds] [input to replay]" >&2
    exit 2
}
[ $# -ge 1 ] || usage
which=$1
seconds=${2:-600}
replay=${3:-}
case $which in
    markup | camerafile | schema) harnesses=("$which") ;;
    all) harnesses=(markup camerafile schema) ;;
    *) usage ;;
esac
[[ $seconds =~ ^[0-9]+$ ]] || usage

"$top/scripts/setup.sh"
missing=()
for p in clang-14 libclang-rt-14-dev; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo=sudo
    echo "fuzz: installing ${missing[*]}"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

build="$top/build/fuzz"
# Two cores are shared, so the build takes at most two jobs.
CC=clang-14 CXX=clang++-14 cmake -S "$top/fuzz" -B "$build" -G Ninja >/dev/null
cmake --build "$build" -j 2 --target "${harnesses[@]/#/fuzz_}"

export QT_QPA_PLATFORM=offscreen
export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:strict_string_checks=1:allocator_may_return_null=0"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
export LSAN_OPTIONS="suppressions=$top/tests/lsan.supp:print_suppressions=0"

# Seeds: the shipped files, the schemas without their documentation (much faster to mutate), and every
# earlier finding kept as a regression file.
seed() {
    local harness=$1 corpus=$2
    local files=()
    case $harness in
        markup) files=("$top"/config/*/*.lumex "$top"/config/*/*.xsd "$top"/tests/platform/data/*.xml) ;;
        camerafile) files=("$top"/config/*/*.lumex "$top"/examples/*.lumex) ;;
        schema) files=("$top"/config/*/*.xsd "$top"/scripts/screenshot-fixture/*.xsd) ;;
    esac
    for dir in "$top/tests/model/data/hostile/$harness" "$top/tests/platform/data/hostile/$harness"; do
        [ -d "$dir" ] && files+=("$dir"/*)
    done
    for file in "${files[@]}"; do
        [ -f "$file" ] && cp -n "$file" "$corpus/seed-$(basename "$file")"
    done
    if [ "$harness" = schema ]; then
        for file in "$top"/config/*/*.xsd; do
            perl -0pe 's{<xs:annotation>.*?</xs:annotation>}{}gs' "$file" >"$corpus/seed-bare-$(basename "$file")"
        done
    fi
}

for harness in "${harnesses[@]}"; do
    binary="$build/fuzz_$harness"
    findings="$top/fuzz/findings/$harness"
    mkdir -p "$findings"
    if [ -n "$replay" ]; then
        "$binary" -timeout=10 -rss_limit_mb=2048 "$replay"
        continue
    fi
    corpus="$top/fuzz/corpus/$harness"
    mkdir -p "$corpus"
    seed "$harness" "$corpus"
    # Long enough for the shipped schemas; camera files and plain markup need less.
    max_len=65536
    [ "$harness" = schema ] && max_len=131072
    echo "fuzz: $harness for $seconds s; corpus $corpus, findings $findings"
    # The run stops at its first finding, which is then fixed before the next run; FUZZ_KEEP_GOING=1
    # runs in a child process instead, so that it goes on after crashes, hangs and blow-ups.
    going=()
    [ "${FUZZ_KEEP_GOING:-0}" = 1 ] && going=(-fork=1 -ignore_crashes=1 -ignore_timeouts=1 -ignore_ooms=1)
    set +e
    "$binary" "$corpus" -dict="$top/fuzz/xml.dict" -max_len=$max_len -timeout=10 -rss_limit_mb=2048 \
        -max_total_time="$seconds" -print_final_stats=1 -artifact_prefix="$findings/" "${going[@]}" \
        >"$findings/last-run.log" 2>&1
    status=$?
    set -e
    grep -E '^(#[0-9]+ +(INITED|DONE)|==[0-9]+==ERROR|SUMMARY|stat::|Fuzz property|artifact_prefix|Test unit written)' \
        "$findings/last-run.log" || true
    echo "fuzz: $harness exited with $status; findings: $(find "$findings" -type f ! -name last-run.log | wc -l)"
done
