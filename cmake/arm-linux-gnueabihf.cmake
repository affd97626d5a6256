# Cross build for 32-bit ARM (hard float). Tests run under qemu-arm.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_FIND_ROOT_PATH /usr/arm-linux-gnueabihf ${PPP_ARM_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The cross toolchain's own libraries serve as the run-time sysroot of qemu-arm.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /usr/arm-linux-gnueabihf)
set(ZLIB_USE_STATIC_LIBS ON)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PPP_ARM_SYSROOT)
# The notes on the ABI change of GCC 7.1 for passing some aggregates concern
# mixing objects built by older compilers, which this build never does.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")
