# Debian's 32-bit ARM, which the console's processor is: its cross compiler, a root of its packages as
# scripts/armhf-sysroot makes it (KELVO_SYSROOT), and qemu-arm for whatever the build wants to run.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(triplet arm-linux-gnueabihf)

set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KELVO_SYSROOT)
if(NOT IS_DIRECTORY "${KELVO_SYSROOT}")
    message(FATAL_ERROR "KELVO_SYSROOT is no folder: scripts/armhf-sysroot makes one and prints it.")
endif()
set(CMAKE_SYSROOT "${KELVO_SYSROOT}")
# Debug symbols name the headers where a console has them, not in this machine's sysroot. No notes that
# compilers before GCC 7 passed some arguments in another way; none such is used.
set(CMAKE_C_FLAGS_INIT "-ffile-prefix-map=${KELVO_SYSROOT}=")
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi -ffile-prefix-map=${KELVO_SYSROOT}=")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config is asked by its own name, so it is told by its environment where to look.
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${KELVO_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
    "${KELVO_SYSROOT}/usr/lib/${triplet}/pkgconfig:${KELVO_SYSROOT}/usr/share/pkgconfig")

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L "${KELVO_SYSROOT}")
