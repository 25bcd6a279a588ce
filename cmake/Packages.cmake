# Debian packages: `cpack -B build/packages --config build/<preset>/CPackConfig.cmake` makes those of the preset's architecture.
#   libqbgl1     the library                          libqbgl-dev   header, link, archive, pkg-config file, CMake package
#   qbgl-tools   qbgl, qbglc, man pages, recipes      qbgl-data     the installation tree, the same for all architectures
#   qbgl-icu     the extension library over ICU, where ICU's packages are installed
# What the programs need is told here and not looked up in the machine's packages: those of another word size are not installed there.
set(QBGL_PACKAGE_MAINTAINER "qbgl maintainers <root@localhost>" CACHE STRING "Maintainer named in the packages")

execute_process(COMMAND getconf GNU_LIBC_VERSION OUTPUT_VARIABLE libc OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REGEX REPLACE "^glibc " "" libc "${libc}")
string(REGEX MATCH "^[0-9]+" gcc "${CMAKE_CXX_COMPILER_VERSION}")
set(same_version "(= ${PROJECT_VERSION})")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qbgl)
set(CPACK_PACKAGE_CONTACT "${QBGL_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Locales, character sets and codeset conversion")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386) # otherwise the machine's
endif()
set(CPACK_DEBIAN_COMPRESSION_TYPE zstd) # xz takes minutes for the data
set(CPACK_COMPONENTS_ALL library development)

# Both word sizes of the library are installed side by side, and the data serve both. CPack has a variable for this field from 3.31 on;
# until then it stands behind another one.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libqbgl${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION "libs\nMulti-Arch: same")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "libc6 (>= ${libc})")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_RECOMMENDS qbgl-data)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "Locales, character sets and codeset conversion: the library
 For programs that read text in whatever codeset it was written, and read it the same way on every machine.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqbgl-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libqbgl${PROJECT_VERSION_MAJOR} ${same_version}")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "Locales, character sets and codeset conversion: for developers
 The header, the static archive, and what pkg-config and CMake need to find them.")

if(NOT QBGL_LIBRARY_ONLY)
  list(APPEND CPACK_COMPONENTS_ALL tools data)

  set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME qbgl-tools)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION text)
  set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libqbgl${PROJECT_VERSION_MAJOR} ${same_version}, qbgl-data ${same_version}, \
libc6 (>= ${libc}), libstdc++6 (>= ${gcc}), libgcc-s1 (>= 4.2)")
  set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS locales) # the sources that qbglc compiles
  set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Locales, character sets and codeset conversion: the programs
 qbgl converts, sorts and shows text; qbglc compiles charmaps and locale definitions.")

  set(CPACK_DEBIAN_DATA_PACKAGE_NAME qbgl-data)
  set(CPACK_DEBIAN_DATA_PACKAGE_SECTION "localization\nMulti-Arch: foreign")
  set(CPACK_DEBIAN_DATA_PACKAGE_ARCHITECTURE all)
  set(CPACK_COMPONENT_DATA_DESCRIPTION "Locales, character sets and codeset conversion: the data
 Conversions, charmaps and locales, compiled from the charmaps and locale definitions of the platform.")
endif()
if(TARGET icu_extension)
  list(APPEND CPACK_COMPONENTS_ALL extension)
  set(CPACK_DEBIAN_EXTENSION_PACKAGE_NAME qbgl-icu)
  set(CPACK_DEBIAN_EXTENSION_PACKAGE_SECTION "libs\nMulti-Arch: same")
  set(CPACK_DEBIAN_EXTENSION_PACKAGE_DEPENDS "libqbgl${PROJECT_VERSION_MAJOR} ${same_version}, libc6 (>= ${libc}), libicu72")
  set(CPACK_COMPONENT_EXTENSION_DESCRIPTION "Locales, character sets and codeset conversion: the extension library over ICU
 For hosts that want the rules of ICU; qbglc tree --icu puts it into an installation.")
endif()

# Debian expects the licence with each package.
foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} upper)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME} RENAME copyright
    COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
include(CPack)
