#!/usr/bin/env bash
# ZEL developer entry point: set-up, build, test, benchmarks.
#   ./zel.sh build           install missing packages, configure and build into build/ (programs in build/bin/)
#   ./zel.sh test            build, run the whole test suite, then again under AddressSanitizer + UBSan,
#                            then every fuzz target for a few seconds when clang is installed
#   ./zel.sh test --quick    the plain test suite only
#   ./zel.sh bench [filter]  build and run the benchmark programs (Release build in build-bench/)
#   ./zel.sh setup           only install the packages listed in tools/debian-packages.txt
#   ./zel.sh fuzz [seconds]  every parser of outside input under libFuzzer (clang, build-fuzz/), default 60 s each
#   ./zel.sh demo            a simulated push down the rig's built-in site, and its log page
#   ./zel.sh package         the Debian package of zel, zel-cli and zel-sim (CPack) into dist/
set -euo pipefail
cd "$(dirname "$0")"
ROOT=$PWD
JOBS=${ZEL_JOBS:-$(nproc 2>/dev/null || echo 2)}

say() { printf '\n== %s\n' "$*"; }

as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; elif command -v sudo >/dev/null; then sudo "$@"; else
        echo "zel.sh: need root (or sudo) to run: $*" >&2
        exit 1
    fi
}

setup() { # [package list], default tools/debian-packages.txt
    local list=${1:-$ROOT/tools/debian-packages.txt}
    local missing=() p
    while read -r p; do
        p=${p%%#*}
        p=${p//[[:space:]]/}
        [ -n "$p" ] || continue
        dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
    done <"$list"
    if [ ${#missing[@]} -gt 0 ]; then
        say "installing: ${missing[*]}"
        as_root env DEBIAN_FRONTEND=noninteractive apt-get update -qq
        as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
    fi
    # The end-to-end test of zel-cli las reads its files with las-js, an independent LAS reader from npm (the
    # machine's Node.js); without it that one test is skipped.
    if command -v npm >/dev/null && [ ! -d "$ROOT/tools/las-check/node_modules/las-js" ]; then
        say "installing las-js (tools/las-check) for the LAS reader test"
        (cd "$ROOT/tools/las-check" && npm ci --no-audit --no-fund --loglevel=error >/dev/null) ||
            echo "zel.sh: npm could not install las-js; the LAS reader test will be skipped" >&2
    fi
    # The number-text tests also run under a German locale, where "," is the decimal separator.
    if ! locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$'; then
        say "generating the de_DE.UTF-8 locale"
        as_root sh -c 'grep -q "^de_DE.UTF-8 UTF-8" /etc/locale.gen 2>/dev/null || echo "de_DE.UTF-8 UTF-8" >>/etc/locale.gen; locale-gen >/dev/null'
    fi
}

configure() { # dir, extra cmake args...
    local dir=$1
    shift
    cmake -S "$ROOT" -B "$ROOT/$dir" -G Ninja "$@" >/dev/null
}

build() {
    setup
    configure build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZEL_WERROR=ON
    cmake --build "$ROOT/build" -j "$JOBS"
}

run_tests() { # dir, extra ctest args...
    local dir=$1
    shift
    ctest --test-dir "$ROOT/$dir" --output-on-failure -j "$JOBS" --timeout 300 "$@"
}

# The sanitizer pass covers the programs that test the code's own logic: every parser of file, socket and
# serial input, the processing and the acquisition. The simulator and end-to-end programs run the same code
# through child processes; they stay in the plain pass to keep CI well inside its time.
SANITIZED_TESTS=(common_tests waveform_tests log_tests settings_tests startup_tests analysis_tests visa_tests
    scope_tests depth_tests display_tests hd_board_tests gps_tests acquisition_tests field_instruments_tests)

test_all() {
    build
    say "test suite"
    run_tests build
    if [ "${1:-}" != "--quick" ]; then
        say "test suite under AddressSanitizer + UndefinedBehaviorSanitizer"
        configure build-asan -DCMAKE_BUILD_TYPE=Debug -DZEL_SANITIZE=ON -DZEL_BENCH=OFF -DZEL_WERROR=ON
        cmake --build "$ROOT/build-asan" -j "$JOBS" --target "${SANITIZED_TESTS[@]}"
        local labels
        labels=$(IFS='|'; echo "${SANITIZED_TESTS[*]}")
        ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 run_tests build-asan -L "^($labels)\$"
        if have_fuzzer; then
            say "every fuzz target for 3 s"
            fuzz_build
            fuzz_run 3
        fi
    fi
}

bench() {
    setup
    configure build-bench -DCMAKE_BUILD_TYPE=Release -DZEL_BENCH=ON
    cmake --build "$ROOT/build-bench" -j "$JOBS"
    local b
    for b in "$ROOT"/build-bench/bin/*_bench; do
        say "$(basename "$b")"
        "$b" ${1:+--benchmark_filter="$1"}
    done
}

# libFuzzer needs clang, whose packages are listed apart so that build and test never need them. New inputs
# the fuzzer finds stay in build-fuzz/corpus/<target>; the seeds in log/fuzz/corpus and fuzz/corpus/<target>
# are only read.
FUZZ_TARGETS=(raw_log_fuzzer ini_text_fuzzer temp_point_file_fuzzer nmea_fuzzer presflow_fuzzer depth_board_fuzzer
    ad4_fuzzer hd_board_fuzzer vxi11_fuzzer ieee_block_fuzzer)

fuzz_build() {
    CC=clang CXX=clang++ configure build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZEL_FUZZ=ON -DZEL_BENCH=OFF
    cmake --build "$ROOT/build-fuzz" -j "$JOBS" --target "${FUZZ_TARGETS[@]}"
}

fuzz_run() { # seconds: each target in turn; prints its executions; fails on the first finding
    local seconds=$1 t seeds log runs
    mkdir -p "$ROOT/build-fuzz/artifacts"
    for t in "${FUZZ_TARGETS[@]}"; do
        mkdir -p "$ROOT/build-fuzz/corpus/$t"
        seeds=()
        [ "$t" = raw_log_fuzzer ] && seeds+=("$ROOT/log/fuzz/corpus")
        [ -d "$ROOT/fuzz/corpus/$t" ] && seeds+=("$ROOT/fuzz/corpus/$t")
        log="$ROOT/build-fuzz/$t.log"
        if ! "$ROOT/build-fuzz/bin/$t" -max_total_time="$seconds" -max_len=65536 -malloc_limit_mb=256 \
            -timeout=10 -artifact_prefix="$ROOT/build-fuzz/artifacts/$t-" -print_final_stats=1 \
            "$ROOT/build-fuzz/corpus/$t" "${seeds[@]}" >"$log" 2>&1; then
            tail -n 40 "$log" >&2
            echo "zel.sh fuzz: $t found a fault (input in build-fuzz/artifacts/, log in $log)" >&2
            return 1
        fi
        runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
        printf '  %-24s %12s executions in %s s\n' "$t" "${runs:-?}" "$seconds"
    done
}

fuzz() {
    local seconds=${1:-60}
    setup
    setup "$ROOT/tools/debian-packages-fuzz.txt"
    fuzz_build
    say "each fuzz target for ${seconds} s"
    fuzz_run "$seconds"
}

# The short fuzz run of the test command: only where clang and its fuzzer runtime are already installed.
have_fuzzer() {
    command -v clang++ >/dev/null 2>&1 || return 1
    local dir
    dir=$(clang++ --print-runtime-dir 2>/dev/null) || return 1
    [ -e "$dir/libclang_rt.fuzzer-x86_64.a" ] || [ -e "$dir/libclang_rt.fuzzer.a" ]
}

demo() {
    setup
    configure build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZEL_WERROR=ON
    cmake --build "$ROOT/build" -j "$JOBS" --target zel-cli zel-sim
    say "a simulated push down the rig's built-in site to its bottom, into demo-out/ (about a minute)"
    mkdir -p "$ROOT/demo-out"
    rm -f "$ROOT"/demo-out/Demo.*
    local summary started=$SECONDS
    # The rig's pace raised tenfold and its rod changes shortened, so the 30 ft go by in about a minute; the
    # push ends when the probe has stood at the bottom for 5 s.
    summary=$("$ROOT/build/bin/zel-cli" push --sim --rate 0.6 --rod-pause-s 1.5 --sweep-ms 2 --points 10001 \
        --idle-s 5 --out "$ROOT/demo-out" --name Demo --yes | tee /dev/stderr | tail -n 1)
    local raw
    raw=$(printf '%s' "$summary" | sed -n 's/.*"raw_log":"\([^"]*\)".*/\1/p')
    [ -n "$raw" ] || { echo "zel.sh demo: the push wrote no log" >&2; exit 1; }
    "$ROOT/build/bin/zel-cli" page "$raw" --pdf --to "$ROOT/demo-out"
    say "files written ($((SECONDS - started)) s)"
    local key
    for key in raw_log companion data_export run_log; do
        printf '  %-12s %s\n' "$key" "$(printf '%s' "$summary" | sed -n "s/.*\"$key\":\"\([^\"]*\)\".*/\1/p")"
    done
    printf '  %-12s %s\n' page "$ROOT/demo-out/Demo.pdf"
}

# The Debian package, from the build tree's programs (only they are built, not the tests).
package() {
    setup
    configure build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZEL_WERROR=ON -DCMAKE_SKIP_INSTALL_ALL_DEPENDENCY=ON
    cmake --build "$ROOT/build" -j "$JOBS" --target zel zel-cli zel-sim
    mkdir -p "$ROOT/dist"
    (cd "$ROOT/build" && cpack -G DEB -B "$ROOT/dist" >/dev/null)
    rm -rf "$ROOT/dist/_CPack_Packages"
    say "package written"
    ls -1 "$ROOT"/dist/*.deb
}

case "${1:-}" in
build) build ;;
test) test_all "${2:-}" ;;
bench) bench "${2:-}" ;;
setup) setup ;;
fuzz) fuzz "${2:-}" ;;
demo) demo ;;
package) package ;;
*)
    sed -n '2,11p' "$0" | sed 's/^# \{0,1\}//'
    exit 2
    ;;
esac
