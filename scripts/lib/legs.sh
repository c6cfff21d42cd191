# shellcheck shell=bash
# The legs of scripts/test. Source this file after build.sh, from the top of the tree.

# One test more than processors, because many tests wait for a link or a clock.
CTEST_PARALLEL_LEVEL=${CTEST_PARALLEL_LEVEL:-$(($(nproc) + 1))}
export CTEST_PARALLEL_LEVEL

# The tests must not depend on the caller's variables.
unset KELVO_API_HOST KESDK_CA_FILE KELVO_USER KELVO_PASSWORD LANGUAGE

# tests PRESET [CTEST-ARGUMENT...]
tests() {
    local preset=$1
    shift
    ctest --preset "$preset" "$@"
}

# built_and_tested PRESET [CTEST-ARGUMENT...]: builds all targets and runs the tests of the arguments
built_and_tested() {
    configure "$1"
    build "$1"
    tests "$@"
}

leg_day() {
    built_and_tested check --label-exclude '^(slow|fleet)$'
}

leg_check() {
    built_and_tested check --label-exclude '^fleet$' --exclude-regex '^packaging\.|_1000$|_1_gib$|^e2e\.slow_login$'
}

leg_rounds() {
    built_and_tested check --tests-regex '_1000$|_1_gib$|^e2e\.slow_login$'
}

# The packages' tests need no other test program. A second build in another folder must give the same bytes.
leg_packages() {
    configure check
    build check shipped
    tests check --label-regex '^packaging$'
}

leg_unit() {
    built_and_tested check --label-exclude '^(e2e|wire|crash|slow|fleet)$'
}

leg_e2e() {
    built_and_tested check --label-regex '^e2e$'
}

# part_tested LEG: the tests of build/LEG, which must be built, but those that tests/excluded.txt names
part_tested() {
    local excluded
    excluded=$(scripts/lib/left_out.py tests/excluded.txt "$1" build/check "build/$1")
    tests "$1" --exclude-regex "$excluded"
}

# shipped_service: builds the service that the console's code is tested against.
shipped_service() {
    configure check
    build check kelvo-service kelvoctl
}

# Of the console's code alone. The tests run against the service as it is shipped.
without_service=(-DKELVO_SERVICE=OFF "-DKELVO_SERVICE_BINARY=$PWD/build/check/bin/kelvo-service")

# The functions prepare_LEG write to the leg's own folder only, because other legs run beside them.
prepare_asan() {
    configure asan "${without_service[@]}"
    build asan
}

leg_asan() {
    shipped_service
    prepare_asan
    part_tested asan
}

# The distribution's QtCore is not instrumented: the sanitizer would miss races, and report races that do not exist.
prepare_tsan() {
    local qt module places=()
    qt=$(scripts/tsan-qt)
    for module in Core Network Test; do
        places+=("-DQt5${module}_DIR=$qt/lib/cmake/Qt5$module")
    done
    configure tsan "${without_service[@]}" "${places[@]}"
    build tsan
}

leg_tsan() {
    shipped_service
    prepare_tsan
    part_tested tsan
}

# The service's own tests and the tests over HTTP, which run the service of the same build.
leg_asan-service() {
    built_and_tested asan-service
}

leg_tsan-service() {
    built_and_tested tsan-service
}

leg_arm() {
    shipped_service
    configure_arm "${without_service[@]}"
    build arm
    part_tested arm
}

# The checks where the console differs most from the build machine: each shipped source compiles, the binary interface,
# files above 4 GiB, dates after 2038, ids above 2^31, and one session of the console.
short_programs=(tst_kesdk_large tst_WideIds tst_farfuture tst_unzip_large)

prepare_arm-short() {
    configure_arm "${without_service[@]}"
    build arm shipped kelvo-console-driver "${short_programs[@]}"
}

leg_arm-short() {
    shipped_service
    prepare_arm-short
    tests arm --no-tests=error --tests-regex \
        "^(fence_(interface|imports|constructors|.*exports|.*needed)|e2e\.life|(kesdk\.)?($(IFS='|' && echo "${short_programs[*]}")))\$"
}

# The service's unit tests on ARM; the others start programs by their names.
leg_arm-service() {
    configure_arm -DKELVO_SERVICE=ON -DKELVO_SERVICE_BINARY=
    build arm
    tests arm --tests-regex '^(service|kelvoctl)'
}

# Tries each fuzzer on a copy of its corpus, and stops at the first finding.
leg_fuzz() {
    local fuzzer name dictionary corpus
    configure fuzz
    build fuzz
    rm -rf build/fuzz/runs
    for fuzzer in build/fuzz/bin/fuzz_*; do
        name=${fuzzer#*/fuzz_}
        dictionary=tests/fuzz/$name/$name.dict
        corpus=build/fuzz/runs/$name
        mkdir -p "$corpus"
        cp "tests/fuzz/$name/corpus/"* "$corpus"
        if [[ -f $dictionary ]]; then set -- "-dict=$dictionary"; else set --; fi
        if ! "$fuzzer" "$@" "-max_total_time=${KELVO_FUZZ_SECONDS:-60}" -print_final_stats=1 \
            "-artifact_prefix=build/fuzz/runs/$name-" "$corpus" >"build/fuzz/runs/$name.log" 2>&1; then
            tail -n 40 "build/fuzz/runs/$name.log" >&2
            return 1
        fi
        echo "fuzz_$name: $(sed -n 's/^Done \([0-9]* runs\).*/\1/p' "build/fuzz/runs/$name.log")"
    done
    echo "$(find build/fuzz/runs -name '*.log' | wc -l) fuzzers found nothing"
}

# The packages for ARM, which are installed and run in an emulator. Needs Linux 6.7.
leg_packages-arm() {
    configure_arm -DKELVO_SERVICE=ON -DKELVO_SERVICE_BINARY=
    build arm shipped
    tests arm --label-regex '^packaging$'
}

# Keeps the run's folder if a round was not sound.
leg_crash() {
    configure check
    build check kelvo-service kelvoctl kelvo-console kelvo killpoint
    /usr/bin/python3 -B tests/crash/crash --build build/check --rounds "${KELVO_CRASH_ROUNDS:-1000}"
}

# Plants each mutant of tests/mutants in a copy of the tree. A mutant that no test notices fails the leg.
leg_mutants() {
    /usr/bin/python3 -B tests/mutants/run
}

# page_tested COMMAND...: builds the office's page, and runs its tests with the service and the console as they are shipped
page_tested() {
    configure check
    build check kelvo-service kelvoctl kelvo-console kelvo
    mkdir -p build/office
    build_office
    local failed=''
    (cd office && NO_COLOR=1 "$@") | tee build/office/vitest.log || failed=$(grep -a -c '^ FAIL ' build/office/vitest.log)
    if [[ -n $failed ]]; then
        echo "$failed tests of the page failed:$(grep -a -m 3 '^ FAIL ' build/office/vitest.log | tr '\n' ';')"
        return 1
    fi
    awk '/^ *Tests .* passed/ {for (word = 1; word < NF; ++word) if ($(word + 1) == "passed") count += $word}
        END {print count " tests of the page passed"}' build/office/vitest.log
}

leg_office() {
    page_tested bash -c "npm test --silent && npm run --silent test-browser -- --exclude '**/{memory,speed}.test.ts'"
}

leg_office-load() {
    KELVO_CHROMIUM=/usr/bin/chromium page_tested npm run --silent test-browser -- memory speed
}

# The tests fail if the object store or PostgreSQL is not installed.
leg_fleet() {
    configure check
    build check tst_service_objects tst_service_chunks tst_service_store kelvo-service kelvo-service-later kelvo_postgresql \
        kelvoctl kelvo-herd kelvo kelvo-console killpoint
    KELVO_DEMAND_GATEWAY=1 KELVO_DEMAND_POSTGRESQL=1 tests check --label-regex '^fleet$'
}

# Keeps the drill's folder if an invariant is broken. All contents stay in memory, about 10 GB.
leg_drills() {
    configure check
    build check kelvo-service kelvo-service-later kelvo_postgresql kelvo-herd
    /usr/bin/python3 -B tests/drills/drill --build build/check --kills "${KELVO_DRILL_ROUNDS:-1000}" --stops 200 --holds 100 \
        --uploads-per-hour 30
}

leg_format() {
    local sources
    mapfile -t sources < <(find . -type d \( -name 'build*' -o -name node_modules \) -prune -o \
        \( -name '*.cpp' -o -name '*.h' \) -print | sort)
    ((${#sources[@]} > 0))
    clang-format --dry-run --Werror "${sources[@]}"
    echo "${#sources[@]} files are formatted"
}

# clang-tidy needs the compile commands and the files that Qt's tools generate. CONTRIBUTING.md says which folders it
# leaves out.
leg_lint() {
    local folders='console|core|net|plugin|screens|worker|platform/(host|kesdk)/src'
    local files="^$PWD/($folders|service/(base|chunks|content|maintenance|objects|tls))/(?!WorkPool\.|DigestLocks\.).*\.cpp$"
    leg_format
    mkdir -p build/lint
    cmake --preset check -B build/lint -DKELVO_UNITY=OFF -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON -DKELVO_TESTS=OFF \
        -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DCMAKE_GLOBAL_AUTOGEN_TARGET=ON \
        >build/lint/configure.log
    cmake --build build/lint --target autogen >>build/lint/configure.log
    if ! run-clang-tidy -quiet -j "$CMAKE_BUILD_PARALLEL_LEVEL" -p build/lint "$files" 2>&1 |
        sed 's/\x1b\[[0-9;]*m//g' >build/lint/tidy.log; then
        { grep ' error: ' build/lint/tidy.log || tail build/lint/tidy.log; } | sort -u >&2
        return 1
    fi
    echo "$(grep -c '^clang-tidy' build/lint/tidy.log) files have no findings"
}

# in_new_shell FUNCTION: because inside an `if` a function does not stop at errors
in_new_shell() {
    bash -c 'set -euo pipefail
        source scripts/lib/build.sh
        source scripts/lib/legs.sh
        "$1"' "$1" "$1"
}

declare -A builders # of a leg: its build that build_beside_tests began

# build_beside_tests LEG...: builds the legs after the first, one after the other and at the lowest priority, while
# tests wait for links and clocks. A build that fails here is repeated by its leg, which shows the error.
build_beside_tests() {
    local leg before=''
    set -m # a process group for each build, so that its compilers can be ended with it
    for leg in "${@:2}"; do
        if [[ $(type -t "prepare_$leg") == function ]]; then
            {
                renice --priority 19 "$BASHPID"
                if [[ -n $before ]]; then tail --pid="$before" --follow /dev/null; fi
                in_new_shell "prepare_$leg"
            } >"build/legs/$leg-build.log" 2>&1 &
            before=$!
            builders[$leg]=$before
        fi
    done
    set +m
    trap 'kill -- "${builders[@]/#/-}" 2>/dev/null || true' EXIT
}

# run_leg LEG: waits first for the leg's build
run_leg() {
    local begin=$SECONDS status=0
    echo "== $1"
    if [[ -n ${builders[$1]:-} ]]; then tail --pid="${builders[$1]}" --follow /dev/null; fi
    in_new_shell "leg_$1" || status=1
    echo "== $1 took $((SECONDS - begin)) s"
    return "$status"
}

# run_legs LEG...: runs all legs, also after a failed leg, and then fails if a leg failed. build/legs has the output of
# each. The last lines are the closing lines of the legs, which run_legs finds by their words.
run_legs() {
    local leg closing status=0
    mkdir -p build/legs
    build_beside_tests "$@"
    for leg in "$@"; do
        run_leg "$leg" 2>&1 | tee "build/legs/$leg.log" || status=1
    done
    echo
    for leg in "$@"; do
        closing=$(grep -a -E '% tests passed|^[0-9]+ (files|fuzzers|tests|of [0-9]+ (rounds|mutants)) ' "build/legs/$leg.log" |
            tail -n 1 || echo 'did not finish')
        echo "$leg: $closing"
    done
    return "$status"
}
