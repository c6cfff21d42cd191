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

# built_and_tested PRESET [CTEST-ARGUMENT...]: all of it built, those tests run
built_and_tested() {
    configure "$1"
    build "$1"
    tests "$@"
}

leg_day() {
    built_and_tested check --label-exclude '^slow$'
}

leg_check() {
    built_and_tested check --exclude-regex '^packaging\.|_1000$'
}

leg_rounds() {
    built_and_tested check --tests-regex '_1000$'
}

# The packages' tests need no other test's program. A second build in another folder has to give the
# same bytes.
leg_packages() {
    configure check
    build_shipped check
    tests check --label-regex '^packaging$'
}

leg_unit() {
    built_and_tested check --label-exclude '^(e2e|wire|crash|slow)$'
}

leg_e2e() {
    built_and_tested check --label-regex '^e2e$'
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
    tests "$preset" --label-exclude '^slow$'
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

# Its own tests, and those over HTTP; the wire's run what was built with the sanitizer.
leg_asan-service() {
    built_and_tested asan-service
}

leg_tsan-service() {
    built_and_tested tsan-service
}

# tests/arm-excluded.txt tells which tests are left out there, and why; no label does. Its packages are
# made and looked at, too.
leg_arm() {
    local excluded
    excluded=$(sed -n 's/^\([^# ]\+\) .*/\1/p' tests/arm-excluded.txt | paste -sd '|')
    configure check
    build check kelvo-service kelvoctl
    configure_arm -DKELVO_SERVICE_BINARY="$PWD/build/check/bin/kelvo-service"
    scripts/lib/left_out.py tests/arm-excluded.txt build/check build/arm
    build arm
    tests arm --exclude-regex "^($excluded)$"
}

# The same for the console's packages, which are installed and run in an emulator: takes Linux 6.7.
leg_packages-arm() {
    configure_arm
    build_shipped arm
    tests arm --label-regex '^packaging$'
}

# The run's folder is kept when a round was not sound.
leg_crash() {
    configure check
    build check kelvo-service kelvoctl kelvo-console kelvo
    mkdir -p build/crash
    /usr/bin/python3 -B tests/crash/crash --build build/check --rounds "${KELVO_CRASH_ROUNDS:-100}" |
        tee build/crash/tests.log
}

leg_format() {
    local sources
    mapfile -t sources < <(find bench console core net platform plugin screens service tests worker \
        \( -name '*.cpp' -o -name '*.h' \) 2>/dev/null | sort)
    ((${#sources[@]} > 0))
    clang-format --dry-run --Werror "${sources[@]}"
    mkdir -p build/format
    echo "${#sources[@]} files are formatted" | tee build/format/tests.log
}

# clang-tidy needs to know how things are compiled, and what Qt's tools make; these look into libraries.
leg_lint() {
    local files="^$PWD/(console|core|net|plugin|screens|worker|platform/(host|kesdk)/src)/.*\.cpp$"
    leg_format
    mkdir -p build/lint
    cmake --preset check -B build/lint -DKELVO_SERVICE=OFF -DKELVO_TESTS=OFF \
        -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DCMAKE_GLOBAL_AUTOGEN_TARGET=ON \
        >build/lint/configure.log
    cmake --build build/lint --target autogen >>build/lint/configure.log
    if ! run-clang-tidy -quiet -j "$CMAKE_BUILD_PARALLEL_LEVEL" -p build/lint "$files" 2>&1 |
        sed 's/\x1b\[[0-9;]*m//g' >build/lint/tidy.log; then
        { grep ' error: ' build/lint/tidy.log || tail build/lint/tidy.log; } | sort -u >&2
        return 1
    fi
    echo "$(grep -c '^clang-tidy' build/lint/tidy.log) files have no findings" | tee build/lint/tests.log
}

# run_legs NAME...: all of them, also after one that failed; fails if one did. Ends with each one's
# closing line.
run_legs() {
    local leg preset closing begin status=0 summary=()
    for leg in "$@"; do
        echo "== $leg"
        begin=$SECONDS
        case $leg in
        day | unit | e2e | rounds | packages) preset=check ;;
        packages-arm) preset=arm ;;
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
        echo "== $leg took $((SECONDS - begin)) s"
        closing=$(grep -s -m 1 -E '% tests passed|^[0-9]+ (files|rounds) ' "build/$preset/tests.log" ||
            echo 'did not get to its end')
        summary+=("$leg: $closing")
    done
    echo
    printf '%s\n' "${summary[@]}"
    return "$status"
}
