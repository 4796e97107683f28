# Cross-compiles for 64-bit Windows with Debian's mingw-w64 (posix threads, which GoogleTest needs) and runs what it
# built under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(QV_MINGW_PREFIX x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${QV_MINGW_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${QV_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${QV_MINGW_PREFIX}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${QV_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# tools/wine-run keeps the Wine prefix inside the build folder and Wine's own chatter out of the output.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../tools/wine-run)
