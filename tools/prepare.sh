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
