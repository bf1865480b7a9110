# What the two toolchain files share: a cross-build for one of the device's
# ARM boards against the sysroot that scripts/make-sysroot.sh makes, with its
# programs run by qemu-user. The toolchain file sets, before including this:
#   PLOVREST_TRIPLET   GNU triplet of the board (aarch64-linux-gnu, ...)
#   PLOVREST_DEB_ARCH  its Debian architecture (arm64, armhf)
#   CMAKE_SYSTEM_PROCESSOR
# The sysroot comes from -DPLOVREST_SYSROOT=DIR or the environment variable of
# the same name (scripts/test.sh --arch sets both).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${PLOVREST_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${PLOVREST_TRIPLET}-g++)

if(NOT PLOVREST_SYSROOT AND DEFINED ENV{PLOVREST_SYSROOT})
  set(PLOVREST_SYSROOT "$ENV{PLOVREST_SYSROOT}")
endif()
if(NOT PLOVREST_SYSROOT OR NOT EXISTS "${PLOVREST_SYSROOT}/usr/lib/${PLOVREST_TRIPLET}")
  message(FATAL_ERROR "No ${PLOVREST_DEB_ARCH} sysroot: configure with "
                      "-DPLOVREST_SYSROOT=$(scripts/make-sysroot.sh ${PLOVREST_DEB_ARCH})")
endif()
# try_compile projects see the same sysroot.
set(ENV{PLOVREST_SYSROOT} "${PLOVREST_SYSROOT}")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PLOVREST_SYSROOT PLOVREST_DEB_ARCH)

set(CMAKE_SYSROOT "${PLOVREST_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# pkg-config reads the board's .pc files and prefixes their paths with the sysroot.
set(ENV{PKG_CONFIG_LIBDIR} "${PLOVREST_SYSROOT}/usr/lib/${PLOVREST_TRIPLET}/pkgconfig:${PLOVREST_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${PLOVREST_SYSROOT}")

# Test programs run under qemu-user with the board's loader and libraries.
# Programs that tests start themselves (the daemon, the tools) are run by
# the kernel's binfmt_misc entry (scripts/emulate.sh) with QEMU_LD_PREFIX.
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/bin/qemu-${PLOVREST_QEMU_NAME}-static -L ${PLOVREST_SYSROOT})
# The packaging and scripts/package-test.sh read the board's architecture here.
set(PLOVREST_BOARD_ARCH ${PLOVREST_DEB_ARCH} CACHE INTERNAL "Debian architecture of the board")
