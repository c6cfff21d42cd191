# shellcheck shell=bash
# Configures and builds presets. To be sourced, from the top of the tree.

# Never more compilers than cores: the sanitizers' builds take memory.
CMAKE_BUILD_PARALLEL_LEVEL=${CMAKE_BUILD_PARALLEL_LEVEL:-$(nproc)}
export CMAKE_BUILD_PARALLEL_LEVEL

# A clone in another folder finds in the cache what was compiled in this one.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1

# configure PRESET [CMAKE-ARGUMENT...]: with the caller's KELVO_TEST_DATA, if there is one
configure() {
    local preset=$1
    shift
    if [[ -n ${KELVO_TEST_DATA:-} ]]; then
        set -- -DKELVO_TEST_DATA="$KELVO_TEST_DATA" "$@"
    fi
    # What is said here interests only when it goes wrong.
    mkdir -p "build/$preset"
    if ! cmake --preset "$preset" "$@" >"build/$preset/configure.log" 2>&1; then
        cat "build/$preset/configure.log" >&2
        return 1
    fi
}

# configure_arm [CMAKE-ARGUMENT...]: all of it. What was found in another root is forgotten with it.
configure_arm() {
    local sysroot
    if ! sysroot=$(scripts/armhf-sysroot); then
        if ((EUID != 0)); then
            echo "Unpacking another architecture's packages wants root, or the package uidmap and a range of" >&2
            echo "user ids for $(id -un) in /etc/subuid; once scripts/armhf-sysroot has ended well, neither." >&2
        fi
        return 1
    fi
    if ! grep -s -q -x "KELVO_SYSROOT:[A-Z]*=$sysroot" build/arm/CMakeCache.txt; then
        rm -rf build/arm
    fi
    configure arm -DKELVO_SYSROOT="$sysroot" "$@"
}

# build PRESET [TARGET...]
build() {
    local preset=$1
    shift
    if (($# > 0)); then
        set -- --target "$@"
    fi
    cmake --build --preset "$preset" "$@"
}

# build_shipped PRESET: what is installed, and no tests.
build_shipped() {
    local targets=(kelvo kesdk consolehost kelvo-console kelvo-service kelvoctl
        console_translations kelvo_translations) known
    known=$(cmake --build --preset "$1" --target help)
    if [[ $known == *$'\n'kelvo_keyboard:* ]]; then
        targets+=(kelvo_keyboard)
    fi
    build "$1" "${targets[@]}"
}
