# Debian's 32-bit ARM, the console's processor: the cross compiler, the folder of its packages that
# scripts/armhf-sysroot makes (KELVO_SYSROOT), and qemu-arm for programs that the build runs.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(triplet arm-linux-gnueabihf)

set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KELVO_SYSROOT)
if(NOT IS_DIRECTORY "${KELVO_SYSROOT}")
    message(FATAL_ERROR "KELVO_SYSROOT is not a folder. scripts/armhf-sysroot makes the folder and prints its path.")
endif()
set(CMAKE_SYSROOT "${KELVO_SYSROOT}")
# Debug symbols contain the paths of the console's headers, not of this machine's sysroot. -Wno-psabi: the
# compiler's notes about compilers before GCC 7 do not apply here.
set(CMAKE_C_FLAGS_INIT "-ffile-prefix-map=${KELVO_SYSROOT}=")
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi -ffile-prefix-map=${KELVO_SYSROOT}=")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The build calls the machine's own pkg-config, so these variables set its search path.
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${KELVO_SYSROOT}")
set(ENV{PKG_CONFIG_LIBDIR}
    "${KELVO_SYSROOT}/usr/lib/${triplet}/pkgconfig:${KELVO_SYSROOT}/usr/share/pkgconfig")

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L "${KELVO_SYSROOT}")
