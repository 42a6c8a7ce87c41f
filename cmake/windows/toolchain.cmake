# Cross-builds for 64-bit Windows with mingw-w64, statically: the programs need only system libraries.
# Libraries and headers come from build/windows-dependencies alone, which scripts/build-windows.sh
# fills.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

cmake_path(SET dependencies NORMALIZE "${CMAKE_CURRENT_LIST_DIR}/../../build/windows-dependencies")
set(CMAKE_FIND_ROOT_PATH "${dependencies}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
# With -O3, GCC 12 takes the appending of short texts for copies onto themselves.
set(CMAKE_CXX_FLAGS_INIT "-Wno-restrict")
set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../../scripts/wine.sh")
