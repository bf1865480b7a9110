# Cross-build for the device's 32-bit ARM boards (Debian armhf, hard-float):
#
#   cmake -S . -B build-armhf -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-arm-linux-gnueabihf.cmake \
#         -DPLOVREST_SYSROOT=$(scripts/make-sysroot.sh armhf)
#
# scripts/test.sh --arch armhf does this, and runs the tests under qemu-user.
# The build gives 32-bit targets a 64-bit time_t and off_t (CMakeLists.txt).
set(PLOVREST_TRIPLET arm-linux-gnueabihf)
set(PLOVREST_DEB_ARCH armhf)
set(PLOVREST_QEMU_NAME arm)
set(CMAKE_SYSTEM_PROCESSOR arm)
# gcc notes where the passing of an argument changed in gcc 7.1; everything
# here is built by one gcc, so the note says nothing about this build.
set(CMAKE_CXX_FLAGS_INIT "-Wno-psabi")
include(${CMAKE_CURRENT_LIST_DIR}/board-cross.cmake)
