# 32-bit Arm with hardware floating point, Debian's cross compiler; programs run under
# user-mode emulation.
# VAXO_SYSROOT: the libraries of the target, as script/test-emulated unpacks them.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
# GCC notes at every vector that code of GCC before 7.1 could not be linked with it.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VAXO_SYSROOT)
set(CMAKE_SYSROOT ${VAXO_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${VAXO_SYSROOT})
