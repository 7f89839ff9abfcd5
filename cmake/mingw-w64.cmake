# Cross build for 64-bit Windows with MinGW-w64 (posix threads flavour); the
# test programs run under a 64-bit Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(VELMIO_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${VELMIO_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${VELMIO_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${VELMIO_MINGW_TRIPLE}-windres)

# Libraries cross-built for this build outside MinGW's root, such as the
# libdeflate of scripts/mingw-libdeflate, are searched as MinGW's own are.
set(VELMIO_MINGW_PREFIX "" CACHE PATH "Prefix of libraries cross-built for MinGW-w64")
set(CMAKE_FIND_ROOT_PATH /usr/${VELMIO_MINGW_TRIPLE} ${VELMIO_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# Packages may come from any prefix, so that a host project finds an installed
# velmio; zlib is found through its module, which searches libraries only.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
# pkg-config reads the .pc files of those roots, never the build machine's.
if(NOT DEFINED ENV{PKG_CONFIG_LIBDIR})
  list(TRANSFORM CMAKE_FIND_ROOT_PATH APPEND /lib/pkgconfig OUTPUT_VARIABLE VELMIO_PC_DIRS)
  string(JOIN : VELMIO_PC_DIRS ${VELMIO_PC_DIRS})
  set(ENV{PKG_CONFIG_LIBDIR} ${VELMIO_PC_DIRS})
endif()

# Debian's "wine" wrapper prefers a 32-bit loader and warns when it is
# missing; the 64-bit loader is called directly where it can be found.
find_program(VELMIO_WINE NAMES wine64 wine
  PATHS /usr/lib/wine /usr/lib64/wine NO_CMAKE_FIND_ROOT_PATH)
if(VELMIO_WINE)
  # A prefix of this build's own, so that runs never share Windows state.
  set(VELMIO_WINEPREFIX "${CMAKE_BINARY_DIR}/wineprefix" CACHE PATH
    "Wine prefix in which the test programs run")
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_COMMAND} -E env
    WINEPREFIX=${VELMIO_WINEPREFIX} WINEDEBUG=-all ${VELMIO_WINE})
endif()
