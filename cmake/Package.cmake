# SPDX-License-Identifier: Apache-2.0
# The Debian package of the component Program: cpack in the build folder makes it. Its dependencies are those that the
# linked libraries' packages declare. Configure with -DCMAKE_INSTALL_PREFIX=/usr, so that libraries go where Debian's do.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvel-flv)
set(CPACK_PACKAGE_CONTACT "Orvel FLV developers <orvel-flv@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "takes FLV files apart, checks them and maps them")
set(CPACK_PACKAGE_DESCRIPTION
"orvel-flv loads an FLV extractor plug-in for the Android media framework as
a device does, and shows what it yields: tracks, samples, seeks. It writes
elementary streams, other containers and thumbnails, gets what is left out
of damaged files, and says what is wrong with a file and where.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL Program)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME orvel-flv)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/bin)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/DebianLayout.cmake)
include(CPack)
