# Builds for macOS without a Mac: clang and lld, with the sysroot that platforms/macos/sysroot makes. The processor is the
# preset's CMAKE_OSX_ARCHITECTURES, which the compiler's trials have to be told, too.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${CMAKE_OSX_ARCHITECTURES})
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CMAKE_OSX_ARCHITECTURES)
set(CMAKE_OSX_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/macos-sysroot-${CMAKE_OSX_ARCHITECTURES})
cmake_path(NORMAL_PATH CMAKE_OSX_SYSROOT)

set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET ${CMAKE_OSX_ARCHITECTURES}-apple-macos)
# The C++ headers by their folder, since clang would take the ones that it has here.
add_compile_options(-nostdinc++ -isystem ${CMAKE_OSX_SYSROOT}/usr/include/c++/v1)
# The lld of clang 14 leaves wrong addresses in the tables for unwinding (__eh_frame). The version is what clang takes the
# linker's options from.
find_program(VORNIK_MACOS_LINKER ld64.lld-16 REQUIRED)
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-stdlib=libc++ -fuse-ld=lld --ld-path=${VORNIK_MACOS_LINKER} -mlinker-version=650")
set(CMAKE_STRIP llvm-strip)
set(CMAKE_INSTALL_NAME_TOOL true)

# No program can be run, and none linked before the sysroot's libraries are chosen.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_FIND_ROOT_PATH ${CMAKE_OSX_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
