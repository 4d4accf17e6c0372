# GoogleTest for the cross build, compiled from /usr/src/googletest (the
# Debian "googletest" package) into the build tree on first use. Provides
# the same targets as the installed package: GTest::gtest, GTest::gtest_main,
# GTest::gmock, GTest::gmock_main.
if(NOT CMAKE_CROSSCOMPILING)
  set(GTest_FOUND FALSE)
  return()
endif()

set(VIREL_GTEST_SOURCE_DIR /usr/src/googletest CACHE PATH
    "GoogleTest sources compiled by the cross build")
if(NOT TARGET gtest)
  if(NOT EXISTS ${VIREL_GTEST_SOURCE_DIR}/CMakeLists.txt)
    set(GTest_FOUND FALSE)
    set(GTest_NOT_FOUND_MESSAGE
        "no GoogleTest sources in ${VIREL_GTEST_SOURCE_DIR} (install googletest)")
    return()
  endif()
  set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
  set(gtest_disable_pthreads OFF CACHE BOOL "" FORCE)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(BUILD_GMOCK ON CACHE BOOL "" FORCE)
  add_subdirectory(${VIREL_GTEST_SOURCE_DIR} ${CMAKE_BINARY_DIR}/googletest
                   EXCLUDE_FROM_ALL)
  # GoogleTest's own sources are not held to the project's warning flags.
  foreach(t gtest gtest_main gmock gmock_main)
    set_property(TARGET ${t} PROPERTY COMPILE_OPTIONS -w)
  endforeach()
endif()
foreach(t gtest gtest_main gmock gmock_main)
  if(NOT TARGET GTest::${t})
    add_library(GTest::${t} ALIAS ${t})
  endif()
endforeach()
set(GTest_FOUND TRUE)
