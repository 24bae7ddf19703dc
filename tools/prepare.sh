# Shared by ./demo and ./check: install what is missing, configure, build. Sourced with bash, not run.
set -euo pipefail

stop() {
    printf '%s: %s\n' "$(basename "$0")" "$*" >&2
    exit 1
}

# install_missing PACKAGE...: Debian packages, only those that are not there.
install_missing() {
    local missing=() package root=()
    if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
        command -v cmake >/dev/null || stop "cmake 3.25 is missing, and without apt-get it cannot be installed from here"
        command -v g++ >/dev/null || stop "g++ is missing, and without apt-get it cannot be installed from here"
        return 0
    fi
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || stop "these packages are missing: ${missing[*]}; install them as root, or install sudo"
        root=(sudo)
    fi
    echo "Installing ${missing[*]}"
    "${root[@]}" apt-get update -qq || stop "apt-get update failed; is there a network?"
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" \
        >/dev/null || stop "could not install ${missing[*]}"
}

# build PRESET [CMAKE OPTION...]: configures and builds in build/PRESET.
build() {
    local preset=$1
    shift
    echo "Building $preset"
    cmake --preset "$preset" "$@" >/dev/null || stop "configuring $preset failed; see the messages above"
    cmake --build --preset "$preset" --parallel "$(nproc)" >build/"$preset"/build.log 2>&1 || {
        tail -n 40 build/"$preset"/build.log >&2
        stop "building $preset failed; the whole log is build/$preset/build.log"
    }
}

# fuzz_one TARGET: one fuzzer from the kept inputs on; what it finds stays in build/fuzz.
fuzz_one() {
    mkdir -p "build/fuzz/found/$1"
    "build/fuzz/fuzz_$1" -max_total_time="${KOVIN_FUZZ_SECONDS:-60}" -max_len=8000 -timeout=30 -rss_limit_mb=2048 \
        -artifact_prefix="build/fuzz/$1-" "build/fuzz/found/$1" "tests/fuzz/corpus/$1" home/def \
        >"build/fuzz/$1.log" 2>&1 && return
    tail -n 20 "build/fuzz/$1.log" >&2
    return 1
}

# fuzz: the fuzzers of the readers, KOVIN_FUZZ_SECONDS (60) each, two at a time. Without clang and its fuzzer it only
# says so. An input that breaks a reader is named and belongs into tests/fuzz/corpus with its fix.
fuzz() {
    local empty='extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }'
    if ! command -v clang++ >/dev/null || ! clang++ -x c++ -fsanitize=fuzzer -o /dev/null - <<<"$empty" 2>/dev/null; then
        echo "Fuzzers: left out, there is no clang with libFuzzer here"
        return 0
    fi
    echo "Building fuzz"
    cmake -S tests/fuzz -B build/fuzz -DCMAKE_CXX_COMPILER=clang++ >/dev/null || stop "configuring the fuzzers failed"
    cmake --build build/fuzz --parallel "$(nproc)" >build/fuzz/build.log 2>&1 || {
        tail -n 40 build/fuzz/build.log >&2
        stop "building the fuzzers failed; the whole log is build/fuzz/build.log"
    }
    echo "Fuzzing each reader for ${KOVIN_FUZZ_SECONDS:-60} s"
    export -f fuzz_one
    printf '%s\n' definition action two_column | xargs -P 2 -I{} bash -c 'fuzz_one {}' ||
        stop "a fuzzer broke a reader; its input is the artifact named above"
}
