# shellcheck shell=bash
# The legs of scripts/test. To be sourced after build.sh, from the top of the tree.

CTEST_PARALLEL_LEVEL=${CTEST_PARALLEL_LEVEL:-$(nproc)}
export CTEST_PARALLEL_LEVEL

# The tests may be run on their own, from any terminal: nothing of the caller's is to get in.
unset KELVO_API_HOST KESDK_CA_FILE KELVO_USER KELVO_PASSWORD

# tests PRESET [CTEST-ARGUMENT...]
tests() {
    local preset=$1
    shift
    ctest --preset "$preset" "$@" | tee "build/$preset/tests.log"
}

leg_day() {
    configure check
    build check
    tests check --label-exclude '^slow$'
}

leg_check() {
    configure check
    build check
    tests check
}

leg_unit() {
    configure check
    build check
    tests check --label-exclude '^(e2e|wire|slow)$'
}

leg_e2e() {
    configure check
    build check
    tests check --label-regex '^e2e$'
}

# The sanitizers' legs try what runs on the console, on the service as it is shipped.
sanitised() {
    local preset=$1
    shift
    configure check
    build check kelvo-service kelvoctl
    configure "$preset" -DKELVO_SERVICE=OFF \
        -DKELVO_SERVICE_BINARY="$PWD/build/check/bin/kelvo-service" "$@"
    build "$preset"
    tests "$preset" --label-exclude '^(slow|e2e)$'
}

leg_asan() {
    sanitised asan
}

# The distribution's Qt is not instrumented: races in and around it would be missed or imagined.
leg_tsan() {
    local qt
    qt=$(scripts/tsan-qt)
    sanitised tsan -DCMAKE_PREFIX_PATH="$qt"
}

# run_legs NAME...: all of them, also after one that failed; fails if one did. Ends with each one's
# closing line.
run_legs() {
    local leg preset closing status=0 summary=()
    for leg in "$@"; do
        echo "== $leg"
        case $leg in
        day | unit | e2e) preset=check ;;
        *) preset=$leg ;;
        esac
        rm -f "build/$preset/tests.log"
        # In a shell of its own, because a function that is asked how it ended does not stop at errors.
        if ! bash -c 'set -euo pipefail
            source scripts/lib/build.sh
            source scripts/lib/legs.sh
            "leg_$1"' leg "$leg"; then
            status=1
        fi
        closing=$(grep -s -m 1 '% tests passed' "build/$preset/tests.log" || echo 'did not get to its tests')
        summary+=("$leg: $closing")
    done
    echo
    printf '%s\n' "${summary[@]}"
    return "$status"
}
