# SPDX-License-Identifier: Apache-2.0
# 64-bit ARM from another machine: Debian's cross compiler, the libraries of Debian's arm64 architecture beside the
# machine's own (script/setup arm64 installs both), and QEMU to run what was built.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(triplet aarch64-linux-gnu)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})

# Of /usr only what is the same on every architecture, and what is this one's; pkg-config would add its own machine's.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${triplet}/pkgconfig:/usr/share/pkgconfig)

# The emulator finds the loader and the libraries where an ARM machine has them; it needs no root of its own.
find_program(ORVEL_EMULATOR NAMES qemu-aarch64 qemu-aarch64-static REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${ORVEL_EMULATOR})
