# Cross build for 64-bit Windows with MinGW-w64 (posix-thread compilers).
#   cmake -S . -B build-win -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64-x86_64.cmake
# Programs and the DLL are linked self-contained: no MinGW runtime DLLs are
# needed beside them. Test programs run under Wine, in a prefix kept inside
# the build tree.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(VIREL_MINGW_TRIPLET x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${VIREL_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${VIREL_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${VIREL_MINGW_TRIPLET}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${VIREL_MINGW_TRIPLET})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static-libgcc -static-libstdc++")

# GoogleTest has no MinGW package: the cross build compiles it from the
# Debian source package (see gtest-cross/GTestConfig.cmake).
if(NOT DEFINED GTest_DIR)
  set(GTest_DIR ${CMAKE_CURRENT_LIST_DIR}/gtest-cross CACHE PATH
      "GoogleTest built from source for the cross build")
endif()

# nlohmann-json (header-only) likewise comes from the Debian package.
if(NOT DEFINED nlohmann_json_DIR)
  set(nlohmann_json_DIR ${CMAKE_CURRENT_LIST_DIR}/nlohmann-cross CACHE PATH
      "nlohmann-json headers for the cross build")
endif()

if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR
      ${CMAKE_CURRENT_LIST_DIR}/wine-run.sh ${CMAKE_BINARY_DIR}/wineprefix)
endif()

# Programs and the DLL side by side, so that Windows finds the DLL.
if(NOT CMAKE_RUNTIME_OUTPUT_DIRECTORY)
  set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
endif()
