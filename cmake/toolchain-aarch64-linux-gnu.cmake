# Cross-build for the device's 64-bit ARM boards (Debian arm64):
#
#   cmake -S . -B build-arm64 -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-aarch64-linux-gnu.cmake \
#         -DPLOVREST_SYSROOT=$(scripts/make-sysroot.sh arm64)
#
# scripts/test.sh --arch arm64 does this, and runs the tests under qemu-user.
set(PLOVREST_TRIPLET aarch64-linux-gnu)
set(PLOVREST_DEB_ARCH arm64)
set(PLOVREST_QEMU_NAME aarch64)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/board-cross.cmake)
