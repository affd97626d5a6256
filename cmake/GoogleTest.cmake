# GoogleTest: the packaged library on a native build; built from the Debian
# sources in /usr/src/googletest when cross-compiling (no target binaries exist).
# Without either the programs still build and the tests are left out with a
# warning (`make test` then fails, as ctest finds no tests).
set(GTEST_SOURCE_DIR /usr/src/googletest CACHE PATH "GoogleTest sources")
set(PPP_HAVE_GTEST ON)
if(CMAKE_CROSSCOMPILING OR NOT EXISTS /usr/lib/x86_64-linux-gnu/libgtest.a)
  if(EXISTS ${GTEST_SOURCE_DIR}/CMakeLists.txt)
    set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
    set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
    add_subdirectory(${GTEST_SOURCE_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
    add_library(ppp_gtest_main INTERFACE)
    target_link_libraries(ppp_gtest_main INTERFACE gtest gtest_main)
  else()
    set(PPP_HAVE_GTEST OFF)
  endif()
else()
  find_package(GTest REQUIRED)
  add_library(ppp_gtest_main INTERFACE)
  target_link_libraries(ppp_gtest_main INTERFACE GTest::gtest GTest::gtest_main)
endif()
if(NOT PPP_HAVE_GTEST)
  message(WARNING "GoogleTest not found (libgtest-dev): the tests are not built")
endif()
