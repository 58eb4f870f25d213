# Debian's cross compiler for `architecture`, which is `triplet` to the compiler, with the libraries
# that fetch-sysroot has unpacked. -DVERANTI_SYSROOT=FOLDER names another place of theirs.
cmake_path(SET sysroot NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot-${architecture})
set(VERANTI_SYSROOT ${sysroot} CACHE PATH "What the cross build needs of Debian")
if(NOT IS_DIRECTORY ${VERANTI_SYSROOT})
    message(FATAL_ERROR "There is no folder ${VERANTI_SYSROOT}: make it with "
                        "toolchains/fetch-sysroot ${architecture} FOLDER, or give another with "
                        "-DVERANTI_SYSROOT=FOLDER.")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VERANTI_SYSROOT)

set(CMAKE_SYSTEM_NAME Linux)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${architecture})
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)

# The compiler brings its own C and C++ libraries; the rest is looked for in the folder only.
set(CMAKE_FIND_ROOT_PATH ${VERANTI_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_LIBDIR} ${VERANTI_SYSROOT}/usr/lib/${triplet}/pkgconfig)
set(folders ${VERANTI_SYSROOT}/usr/lib/${triplet}:${VERANTI_SYSROOT}/lib/${triplet})
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,\"${folders}\"")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,-rpath-link,\"${folders}\"")

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-${CMAKE_SYSTEM_PROCESSOR} -L ${VERANTI_SYSROOT})
