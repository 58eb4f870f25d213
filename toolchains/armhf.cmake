# Debian's cross compiler for 32-bit ARM, with the libraries that fetch-armhf has unpacked.
set(sysroot ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-armhf)
set(triplet arm-linux-gnueabihf)

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)

# The compiler brings its own C and C++ libraries; the rest is looked for in the folder only.
set(CMAKE_FIND_ROOT_PATH ${sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${sysroot})
set(ENV{PKG_CONFIG_LIBDIR} ${sysroot}/usr/lib/${triplet}/pkgconfig:${sysroot}/usr/share/pkgconfig)
set(folders ${sysroot}/usr/lib/${triplet}:${sysroot}/lib/${triplet})
set(CMAKE_EXE_LINKER_FLAGS_INIT -Wl,-rpath-link,${folders})
set(CMAKE_SHARED_LINKER_FLAGS_INIT -Wl,-rpath-link,${folders})

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L ${sysroot})
