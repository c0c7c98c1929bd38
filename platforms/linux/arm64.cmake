# Builds for Linux on arm64 elsewhere: Debian's compiler for that processor.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

# The tests need libraries of that processor, which platforms/linux/arm64-packages fetches, and qemu to run.
if(VORNIK_ARM64_PACKAGES)
  list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES VORNIK_ARM64_PACKAGES)
  set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
  set(CMAKE_FIND_ROOT_PATH ${VORNIK_ARM64_PACKAGES})
  set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
  set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
  set(ENV{PKG_CONFIG_SYSROOT_DIR} ${VORNIK_ARM64_PACKAGES})
  set(ENV{PKG_CONFIG_LIBDIR}
      ${VORNIK_ARM64_PACKAGES}/usr/lib/aarch64-linux-gnu/pkgconfig:${VORNIK_ARM64_PACKAGES}/usr/share/pkgconfig)
  add_compile_options(-idirafter ${VORNIK_ARM64_PACKAGES}/usr/include/aarch64-linux-gnu)
  set(CMAKE_EXE_LINKER_FLAGS_INIT
      "-Wl,-rpath-link,${VORNIK_ARM64_PACKAGES}/usr/lib/aarch64-linux-gnu:${VORNIK_ARM64_PACKAGES}/lib/aarch64-linux-gnu")
  set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${VORNIK_ARM64_PACKAGES})
endif()
