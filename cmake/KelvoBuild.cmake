# Settings of every target: language level, tools, sanitizers and the warnings target.
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_STANDARD 17) # The service needs 20 for its coroutines.
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
if(NOT CMAKE_BUILD_TYPE)
    set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "" FORCE)
endif()

# File offsets have 64 bits also on the 32-bit console. time_t keeps 32 bits, as in the host's libraries.
add_compile_definitions(_FILE_OFFSET_BITS=64)
add_link_options(-Wl,-z,defs)

# The same commit gives the same bytes in any build folder: they contain no path of the build machine, and
# the build time is the time of the commit.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)
if(NOT KELVO_SANITIZE AND NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
    file(RELATIVE_PATH kelvo_tree "${CMAKE_BINARY_DIR}" "${CMAKE_SOURCE_DIR}")
    cmake_path(APPEND kelvo_tree "") # the path that ccache uses for the tree; ends in a slash
    foreach(prefix "${CMAKE_SOURCE_DIR}/" "${kelvo_tree}" "${CMAKE_BINARY_DIR}/")
        add_compile_options("-ffile-prefix-map=${prefix}=")
    endforeach()
    add_compile_options("-ffile-prefix-map=${CMAKE_BINARY_DIR}=.")
endif()
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    execute_process(COMMAND git log -1 --format=%ct
        WORKING_DIRECTORY "${CMAKE_SOURCE_DIR}"
        OUTPUT_VARIABLE kelvo_commit_time OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(kelvo_commit_time)
        set(ENV{SOURCE_DATE_EPOCH} "${kelvo_commit_time}")
    endif()
endif()

find_program(KELVO_CCACHE ccache)
if(KELVO_CCACHE)
    # Without these settings ccache does not cache files that use a precompiled header.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime "${KELVO_CCACHE}")
    set(CMAKE_C_COMPILER_LAUNCHER "${KELVO_CCACHE}")
endif()
find_program(KELVO_MOLD mold)
if(KELVO_MOLD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT CMAKE_CROSSCOMPILING)
    add_link_options(-fuse-ld=mold)
endif()

if(KELVO_SANITIZE)
    add_compile_options(-fsanitize=${KELVO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${KELVO_SANITIZE})
endif()

option(KELVO_FUZZ "Build the fuzzers of tests/fuzz (needs clang++)" OFF)
if(KELVO_FUZZ)
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

add_library(kelvo_warnings INTERFACE)
add_library(kelvo::warnings ALIAS kelvo_warnings)
target_compile_options(kelvo_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)

# Rules for all our Qt code.
add_library(kelvo_qt_rules INTERFACE)
add_library(kelvo::qt_rules ALIAS kelvo_qt_rules)
target_compile_definitions(kelvo_qt_rules INTERFACE
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH
    QT_DISABLE_DEPRECATED_BEFORE=0x050F00)
