# GoogleTest is built from its Debian source package, so that it has the word size of the preset.
set(INSTALL_GTEST OFF)
set(gtest_disable_pthreads OFF)
if(NOT EXISTS /usr/src/googletest/CMakeLists.txt)
  message(FATAL_ERROR "GoogleTest's sources are missing: install the package googletest, or run scripts/setup")
endif()
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
foreach(target gtest gtest_main gmock gmock_main)
  target_compile_options(${target} PRIVATE -w) # its warnings are not ours to mend
endforeach()
include(GoogleTest)
