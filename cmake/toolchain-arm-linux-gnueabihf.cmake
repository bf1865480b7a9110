# Cross-build of the daemon for an embedded 32-bit ARM board (hard-float).
#
#   apt-get install g++-arm-linux-gnueabihf
#   # target libraries (libczmq-dev, libzmq3-dev, rapidjson-dev for armhf) in a sysroot, e.g.
#   #   dpkg --add-architecture armhf && apt-get install libczmq-dev:armhf libzmq3-dev:armhf
#   cmake -S . -B build-arm -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-arm-linux-gnueabihf.cmake \
#         -DPLOVREST_BUILD_TESTS=OFF -DPLOVREST_BUILD_BENCHMARKS=OFF -DPLOVREST_BUILD_TOOLS=OFF
#   cmake --build build-arm --target plovrestd
#
# The record is read in place, so the target must be little-endian (the build
# fails otherwise).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)

set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

# Multiarch sysroot as Debian lays it out; override with -DPLOVREST_SYSROOT=...
set(PLOVREST_SYSROOT "/" CACHE PATH "Root of the target's libraries and headers")
set(CMAKE_FIND_ROOT_PATH ${PLOVREST_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# pkg-config looks in the target's directories only.
set(ENV{PKG_CONFIG_LIBDIR} "${PLOVREST_SYSROOT}/usr/lib/arm-linux-gnueabihf/pkgconfig:${PLOVREST_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${PLOVREST_SYSROOT})
