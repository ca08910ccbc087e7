# 64-bit Arm, Debian's cross compiler; programs run under user-mode emulation.
# VAXO_SYSROOT: the libraries of the target, as script/test-emulated unpacks them.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VAXO_SYSROOT)
set(CMAKE_SYSROOT ${VAXO_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${VAXO_SYSROOT})
