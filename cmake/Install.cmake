# SPDX-License-Identifier: Apache-2.0
# What another component needs to use the media utilities, as the component Development: the library, the stand-in that
# it is linked with on a desk, their headers, and a package file each for find_package(OrvelFlv) and for pkg-config.
include(CMakePackageConfigHelpers)

set(orvel_include_dir ${CMAKE_INSTALL_INCLUDEDIR}/orvel-flv)
set(orvel_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/OrvelFlv)

# The two libraries find each other wherever the tree is moved to.
set_target_properties(flvextractor orvel_platform PROPERTIES INSTALL_RPATH "\$ORIGIN")
target_include_directories(flvextractor INTERFACE $<INSTALL_INTERFACE:${orvel_include_dir}>)
target_include_directories(orvel_platform INTERFACE $<INSTALL_INTERFACE:${orvel_include_dir}/platform>)

install(TARGETS flvextractor orvel_platform EXPORT OrvelFlv
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/frameworks/av/media/utils/ DESTINATION ${orvel_include_dir}
  COMPONENT Development
  FILES_MATCHING PATTERN "*.h"
  PATTERN "CheckedBitReader.h" EXCLUDE
  PATTERN "CodecTables.h" EXCLUDE)
foreach(part liblog libutils libstagefright)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/${part}/include/ DESTINATION ${orvel_include_dir}/platform
    COMPONENT Development
    FILES_MATCHING PATTERN "*.h")
endforeach()

write_basic_package_version_file(${PROJECT_BINARY_DIR}/OrvelFlvConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/OrvelFlvConfigVersion.cmake DESTINATION ${orvel_package_dir}
  COMPONENT Development)
install(EXPORT OrvelFlv FILE OrvelFlvConfig.cmake NAMESPACE OrvelFlv:: DESTINATION ${orvel_package_dir}
  COMPONENT Development)

# Relative to where the file lies, so that the tree may be installed anywhere.
file(RELATIVE_PATH orvel_pc_to_prefix /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)
configure_file(${CMAKE_CURRENT_LIST_DIR}/orvel-flv.pc.in ${PROJECT_BINARY_DIR}/orvel-flv.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvel-flv.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT Development)

# The program with its plug-in, as the component Program; the codec module adds itself. The two libraries are the same
# as above, so that either component is whole without the other.
if(ORVEL_BUILD_HOST)
  install(TARGETS orvel-flv RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Program)
  install(TARGETS flvextractor orvel_platform LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Program)
  install(FILES ${PROJECT_SOURCE_DIR}/man/orvel-flv.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Program)
  install(FILES ${PROJECT_SOURCE_DIR}/completion/orvel-flv.bash RENAME orvel-flv
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT Program)
  install(FILES ${PROJECT_SOURCE_DIR}/completion/_orvel-flv
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT Program)
  install(FILES ${PROJECT_SOURCE_DIR}/completion/orvel-flv.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT Program)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/orvel-flv
    COMPONENT Program)
  include(${CMAKE_CURRENT_LIST_DIR}/Package.cmake)
endif()
