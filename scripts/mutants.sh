#!/usr/bin/env bash
# Mutation check: plants each fault of scripts/mutants.list, one at a time, in a scratch copy of
# the tree and reports which test catches it. The working tree is never edited.
#
#   scripts/mutants.sh [--repo DIR] [--scratch DIR] [--only REGEX] [-j N] [--timeout SEC]
#                      [--last REGEX] [--no-baseline] [--every] [--list] [--check]
#
# --repo DIR      tree to copy (default: this checkout)
# --scratch DIR   the copy; kept between runs so rebuilds are incremental
#                 (default ${TMPDIR:-/tmp}/orvex-mutants/src; the build goes to DIR/build/mutants)
# --only REGEX    only the faults whose id matches
# -j N            build and test jobs (default 2)
# --timeout SEC   per-test time limit given to ctest for tests that set none (default 120; the
#                 suite's own tests set 300, which ctest keeps)
# --last REGEX    slow tests run after all others in the full pass (default tst_hostilefiles)
# --no-baseline   skip the run of the whole suite on the unchanged copy
# --every         also run the whole suite on each fault and name every test that catches it
#                 (slow: a full build and run per fault; checks the "single" flags)
# --list          print the faults and exit
# --check         report faults whose line is missing or not unique (STALE) and exit
#
# Per fault: the expected killers are built and run first; if they pass, everything is built and
# the rest of the suite runs. Prints "<id>: killed by <test>", "<id>: SURVIVED", "STALE <id>" or
# "<id>: BUILD FAILED" (counted as killed by the compiler), then "killed K of N, survived S".
# Each step's output is kept in <scratch>/../mutants-logs/<id>.* (the failing test's output included).
# Exit status: 0 when every fault was killed or is an accepted survivor, 1 when a fault that is not
# accepted survived or a fault is stale, 2 on a usage or setup error.
set -uo pipefail

here=$(cd "$(dirname "$0")" && pwd)
repo=$(cd "$here/.." && pwd)
list="$here/mutants.list"
helper="$here/mutants_list.py"
scratch="${TMPDIR:-/tmp}/orvex-mutants/src"
only=""
jobs=2
timeout=120
last="tst_hostilefiles"
baseline=1
every=0
mode=run

usage() { sed -n '4,20p' "$0" | sed 's/^# \{0,1\}//'; exit 2; }
while [ $# -gt 0 ]; do
    case "$1" in
    --repo) repo=$(cd "$2" && pwd) || exit 2; shift 2 ;;
    --scratch) scratch="$2"; shift 2 ;;
    --only) only="$2"; shift 2 ;;
    -j) jobs="$2"; shift 2 ;;
    -j*) jobs="${1#-j}"; shift ;;
    --timeout) timeout="$2"; shift 2 ;;
    --last) last="$2"; shift 2 ;;
    --no-baseline) baseline=0; shift ;;
    --every) every=1; shift ;;
    --list) mode=list; shift ;;
    --check) mode=check; shift ;;
    -h | --help) usage ;;
    *) echo "mutants.sh: unknown argument $1" >&2; usage ;;
    esac
done

records=$(python3 "$helper" records "$list" "$only") || exit 2
if [ -z "$records" ]; then
    echo "mutants.sh: no fault matches '$only'" >&2
    exit 2
fi

if [ "$mode" = list ]; then
    while IFS=$'\t' read -r id file tests flags accepted what; do
        printf '%-28s %-46s %s\n' "$id" "$file" "$what"
        printf '%-28s tests: %s' "" "$tests"
        [ "$flags" != - ] && printf '  [%s]' "$flags"
        printf '\n'
        [ "$accepted" != - ] && printf '%-28s accepted: %s\n' "" "$accepted"
    done <<<"$records"
    exit 0
fi

if [ "$mode" = check ]; then
    python3 "$helper" check "$list" "$repo" "$only"
    status=$?
    [ $status -eq 0 ] && echo "every fault applies to $repo"
    [ $status -eq 3 ] && exit 1
    exit $status
fi

"$here/setup.sh" || exit 2
command -v rsync >/dev/null || { echo "mutants.sh: rsync is needed" >&2; exit 2; }
mkdir -p "$scratch" || exit 2
scratch=$(cd "$scratch" && pwd)
build="$scratch/build/mutants"
logs="$(dirname "$scratch")/mutants-logs"
backup="$(dirname "$scratch")/mutants-backup"
mkdir -p "$logs"

# A planted fault is taken back out whatever ends the run. The restored file gets a fresh time so
# that the next build recompiles it.
planted=""
restore() {
    if [ -n "$planted" ] && [ -f "$backup" ]; then
        cp "$backup" "$scratch/$planted" && touch "$scratch/$planted"
        rm -f "$backup"
    fi
    planted=""
}
trap 'restore' EXIT
trap 'restore; echo "mutants.sh: interrupted" >&2; exit 130' INT TERM HUP

# Copies by content, not by time stamp: a file whose content changed gets a new time and is rebuilt,
# an unchanged one keeps its time and is not.
echo "copying $repo to $scratch"
rsync -rlpD --checksum --delete --exclude=/build/ --exclude=/.git/ --exclude=/fuzz/findings/ \
    "$repo/" "$scratch/" || exit 2

if command -v ccache >/dev/null; then
    export CCACHE_BASEDIR="$scratch" CCACHE_NOHASHDIR=1
    launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
else
    launcher=()
fi
echo "configuring $build"
cmake -S "$scratch" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DORVEX_SANITIZE=OFF \
    "${launcher[@]}" >"$logs/configure.log" 2>&1 || {
    echo "mutants.sh: configure failed, see $logs/configure.log" >&2
    exit 2
}
echo "building everything"
ninja -C "$build" -j "$jobs" >"$logs/build.log" 2>&1 || {
    echo "mutants.sh: the unchanged tree does not build, see $logs/build.log" >&2
    exit 2
}

# Tests that never judge a fault: formatting and includes are not what the faults change.
never="format_check|layer_check"

# first_failure LOG: name of the first test ctest reported as anything but passed.
first_failure() {
    sed -n 's/^ *[0-9]*\/[0-9]* *Test *#[0-9]*: *\([^ ]*\) .*/\1 &/p' "$1" |
        grep -v ' Passed ' | grep -v '\*\*\*Not Run (Disabled)' | head -1 | cut -d' ' -f1
}

# run_tests LOG ctest-args...: 0 when every selected test passed; sets $failed otherwise.
failed=""
run_tests() {
    local log="$1"
    shift
    (cd "$build" && ctest --timeout "$timeout" --stop-on-failure --output-on-failure -j "$jobs" "$@") >"$log" 2>&1
    local status=$?
    failed=""
    if [ $status -ne 0 ]; then
        failed=$(first_failure "$log")
        if [ -z "$failed" ]; then
            if grep -q 'No tests were found' "$log"; then
                return 0
            fi
            failed="(ctest status $status)"
        fi
        if grep -q "$failed .*\*\*\*Timeout" "$log"; then
            failed="$failed (timeout)"
        fi
        return 1
    fi
    return 0
}

broken=""
if [ $baseline -eq 1 ]; then
    echo "running the whole suite on the unchanged tree"
    started=$SECONDS
    (cd "$build" && ctest --timeout "$timeout" -j "$jobs" -E "^($never)\$") >"$logs/baseline.log" 2>&1
    broken=$(sed -n 's/^ *[0-9]*\/[0-9]* *Test *#[0-9]*: *\([^ ]*\) .*/\1 &/p' "$logs/baseline.log" |
        grep -v ' Passed ' | cut -d' ' -f1 | paste -sd'|')
    echo "baseline took $((SECONDS - started)) s"
    if [ -n "$broken" ]; then
        echo "WARNING: failing without any fault, left out of every run: ${broken//|/ }"
        never="$never|$broken"
    fi
fi

total=0
killed=0
survived=0
accepted_survivors=0
stale=0
compiler=0
declare -a survivors=()
started_all=$SECONDS
while IFS=$'\t' read -r -u 3 id file tests flags accepted what; do
    total=$((total + 1))
    started=$SECONDS
    tag=""
    [ "$flags" != - ] && tag=" [$flags]"
    python3 "$helper" apply "$list" "$id" "$scratch" "$backup" >"$logs/$id.apply" 2>&1
    case $? in
    0) planted="$file" ;;
    3)
        echo "STALE $id ($(cut -d: -f2- "$logs/$id.apply" | sed 's/^ *//'))"
        stale=$((stale + 1))
        continue
        ;;
    *)
        echo "$id: could not plant: $(cat "$logs/$id.apply")"
        stale=$((stale + 1))
        continue
        ;;
    esac

    verdict=""
    killers=$(echo "$tests" | tr ' ' '|')
    # The expected killers first: only their targets are rebuilt.
    if ! ninja -C "$build" -j "$jobs" $tests >"$logs/$id.build" 2>&1; then
        verdict="BUILD FAILED (counted as killed by the compiler; see $logs/$id.build)"
        compiler=$((compiler + 1))
    elif ! run_tests "$logs/$id.killers.log" -R "^($killers)\$" -E "^($never)\$"; then
        verdict="killed by $failed"
    elif ! ninja -C "$build" -j "$jobs" >>"$logs/$id.build" 2>&1; then
        verdict="BUILD FAILED (counted as killed by the compiler; see $logs/$id.build)"
        compiler=$((compiler + 1))
    elif ! run_tests "$logs/$id.rest.log" -E "^($never|$killers|$last)\$"; then
        verdict="killed by $failed"
    elif [ -n "$last" ] && ! run_tests "$logs/$id.last.log" -R "^($last)\$" -E "^($never|$killers)\$"; then
        verdict="killed by $failed"
    fi
    if [ $every -eq 1 ] && [ "${verdict#BUILD}" = "$verdict" ]; then
        catchers=""
        if ninja -C "$build" -j "$jobs" >>"$logs/$id.build" 2>&1; then
            (cd "$build" && ctest --timeout "$timeout" -j "$jobs" -E "^($never)\$") >"$logs/$id.every.log" 2>&1
            catchers=$(sed -n 's/^ *[0-9]*\/[0-9]* *Test *#[0-9]*: *\([^ ]*\) .*/\1 &/p' "$logs/$id.every.log" |
                grep -v ' Passed ' | cut -d' ' -f1 | sort | paste -sd' ')
        fi
        [ -n "$verdict" ] && verdict="$verdict (caught by: ${catchers:-none})"
    fi
    restore

    if [ -n "$verdict" ]; then
        killed=$((killed + 1))
        [ "$accepted" != - ] && verdict="$verdict (an accepted survivor no longer survives)"
        echo "$id: $verdict$tag  [$((SECONDS - started)) s]"
    elif [ "$accepted" != - ]; then
        survived=$((survived + 1))
        accepted_survivors=$((accepted_survivors + 1))
        echo "$id: SURVIVED (accepted: $accepted)  [$((SECONDS - started)) s]"
    else
        survived=$((survived + 1))
        survivors+=("$id")
        echo "$id: SURVIVED$tag  [$((SECONDS - started)) s]"
    fi
done 3<<<"$records"

echo "killed $killed of $total, survived $survived"
[ $compiler -gt 0 ] && echo "($compiler of the killed by the compiler: their faults do not build)"
[ $accepted_survivors -gt 0 ] && echo "($accepted_survivors accepted survivors)"
[ $stale -gt 0 ] && echo "($stale stale: their line is missing or not unique; not run)"
echo "took $((SECONDS - started_all)) s for the faults"
if [ ${#survivors[@]} -gt 0 ] || [ $stale -gt 0 ]; then
    [ ${#survivors[@]} -gt 0 ] && echo "not accepted survivors: ${survivors[*]}"
    exit 1
fi
exit 0
