# What a host needs to find the library: header, both libraries, pkg-config file, CMake package. The programs and the data install
# themselves. A component is a package (cmake/Packages.cmake); `cmake --install` takes all of them.
include(CMakePackageConfigHelpers)

install(TARGETS qbgl_shared qbgl_static EXPORT qbglTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/include/qbgl.h ${PROJECT_SOURCE_DIR}/include/qbgl_extension.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

# The paths in the pkg-config file start from its own place, so that an installation can be moved.
file(RELATIVE_PATH QBGL_PC_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" QBGL_PC_PREFIX ${QBGL_PC_PREFIX})
configure_file(${CMAKE_CURRENT_LIST_DIR}/qbgl.pc.in ${PROJECT_BINARY_DIR}/qbgl.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qbgl.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

set(QBGL_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qbgl)
install(EXPORT qbglTargets NAMESPACE qbgl:: DESTINATION ${QBGL_PACKAGE_DIR} COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/qbglConfig.cmake.in ${PROJECT_BINARY_DIR}/qbglConfig.cmake
  INSTALL_DESTINATION ${QBGL_PACKAGE_DIR} PATH_VARS CMAKE_INSTALL_DATADIR)
# A host of another word size is refused: the version file compares the size of a pointer.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qbglConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qbglConfig.cmake ${PROJECT_BINARY_DIR}/qbglConfigVersion.cmake
  DESTINATION ${QBGL_PACKAGE_DIR} COMPONENT development)

if(NOT QBGL_LIBRARY_ONLY)
  foreach(page qbgl.1 qbglc.1)
    configure_file(${PROJECT_SOURCE_DIR}/docs/man/${page} ${PROJECT_BINARY_DIR}/man/${page} @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/man/${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tools)
  endforeach()
endif()
