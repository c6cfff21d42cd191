# shellcheck shell=bash
# Functions that configure and build presets. Source this file from the top of the tree.

# At most one compiler for each core, because the sanitizers' builds need much memory.
CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}
export CMAKE_BUILD_PARALLEL_LEVEL

# A clone in another folder uses the same cache entries.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1

# configure PRESET [CMAKE-ARGUMENT...]: passes on the caller's KELVO_TEST_DATA, if it is set
configure() {
    local preset=$1
    shift
    if [[ -n ${KELVO_TEST_DATA:-} ]]; then
        set -- -DKELVO_TEST_DATA="$KELVO_TEST_DATA" "$@"
    fi
    # The output is shown only after an error.
    mkdir -p "build/$preset"
    if ! cmake --preset "$preset" "$@" >"build/$preset/configure.log" 2>&1; then
        cat "build/$preset/configure.log" >&2
        return 1
    fi
}

# configure_arm [CMAKE-ARGUMENT...]: configures the preset arm. A build for another sysroot is removed first.
configure_arm() {
    local sysroot
    if ! sysroot=$(scripts/armhf-sysroot); then
        if ((EUID != 0)); then
            echo "To unpack packages of another architecture, scripts/armhf-sysroot needs root, or the package" >&2
            echo "uidmap and a range of user ids for $(id -un) in /etc/subuid. It needs them only once." >&2
        fi
        return 1
    fi
    if ! grep -s -q -x "KELVO_SYSROOT:[A-Z]*=$sysroot" build/arm/CMakeCache.txt; then
        rm -rf build/arm
    fi
    configure arm -DKELVO_SYSROOT="$sysroot" "$@"
}

# build PRESET [TARGET...]: the target `shipped` is everything that the packages contain
build() {
    local preset=$1
    shift
    if (($# > 0)); then
        set -- --target "$@"
    fi
    cmake --build --preset "$preset" "$@"
}

# has_node WHAT: whether Node.js can build the office's page. If not, prints that WHAT is left out, and what to do.
has_node() {
    local found
    found=$(node --version 2>/dev/null) || found='no Node.js'
    if command -v npm >/dev/null && node -e 'const [major, minor] = process.versions.node.split(".").map(Number);
        process.exit(major > 22 || (major === 22 && minor >= 12) || (major === 20 && minor >= 19) ? 0 : 1)' 2>/dev/null; then
        return
    fi
    echo "$1 is left out. It needs Node.js 20.19, 22.12 or newer with npm; this machine has $found." >&2
    echo "To install it: apt-get install npm && npm install --global node@22, then run this script again." >&2
    return 1
}

# build_office: builds the office's page into office/dist. Needs Node.js, and the npm registry if packages are missing.
build_office() {
    mkdir -p build
    if ! (cd office && npm ci --no-audit --no-fund --loglevel=error && npm run --silent build) \
        >build/office.log 2>&1; then
        cat build/office.log >&2
        return 1
    fi
}
