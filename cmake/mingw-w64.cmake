# Toolchain: 64-bit Windows by mingw-w64, on Debian.
#
# KORVEX_MINGW_PREFIX names the folder with Qt and libcrypto for Windows that
# script/windows/bootstrap prepares.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# The variants with POSIX threads: the others have no std::thread.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

set(KORVEX_MINGW_PREFIX "" CACHE PATH "Qt and libcrypto for Windows")
# What CMake tries out it compiles in a project of its own, which has to know the prefix too.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KORVEX_MINGW_PREFIX)

set(CMAKE_FIND_ROOT_PATH "${KORVEX_MINGW_PREFIX}" /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Translations are compiled by this machine's own tools; the prefix has none.
set(Qt5LinguistTools_DIR "/usr/lib/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu/cmake/Qt5LinguistTools")

set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../script/windows/run-test")
