# Makes the programs of a cross build start like those of any other build. The folder `run` in the build
# folder has the same layout as the build folder. In place of each program it has a small script that runs
# the program in the emulator. It also holds the programs of KELVO_SERVICE_BINARY.

# kelvo_program_path(VARIABLE TARGET): sets VARIABLE to the path by which a script starts TARGET.
function(kelvo_program_path variable target)
    if(CMAKE_CROSSCOMPILING_EMULATOR)
        set(${variable} "${CMAKE_BINARY_DIR}/run/bin/${target}" PARENT_SCOPE)
    else()
        set(${variable} "$<TARGET_FILE:${target}>" PARENT_SCOPE)
    endif()
endfunction()

# kelvo_emulated_programs(TARGET...): makes the folder `run`; without an emulator, does nothing.
function(kelvo_emulated_programs)
    if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
        return()
    endif()
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR "' '" emulator)
    foreach(target IN LISTS ARGN)
        if(TARGET ${target})
            file(GENERATE OUTPUT "${CMAKE_BINARY_DIR}/run/bin/${target}"
                CONTENT "#!/bin/sh\nexec '${emulator}' '$<TARGET_FILE:${target}>' \"$@\"\n"
                FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
        endif()
    endforeach()
    file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/run")
    file(CREATE_LINK "../lib" "${CMAKE_BINARY_DIR}/run/lib" SYMBOLIC)
    if(KELVO_SERVICE_BINARY)
        file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/run/bin")
        cmake_path(GET KELVO_SERVICE_BINARY PARENT_PATH folder)
        foreach(program IN ITEMS kelvo-service kelvoctl)
            file(CREATE_LINK "${folder}/${program}" "${CMAKE_BINARY_DIR}/run/bin/${program}" SYMBOLIC)
        endforeach()
    endif()
endfunction()
