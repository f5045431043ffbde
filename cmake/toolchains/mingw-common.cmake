# Cross builds for Windows with mingw-w64 (its posix thread model), for the processor that the
# including toolchain file (mingw-i686.cmake, mingw-x86_64.cmake) sets in CMAKE_SYSTEM_PROCESSOR.
set(CMAKE_SYSTEM_NAME Windows)
set(LUMIVEX_TOOL_PREFIX ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32)
set(CMAKE_C_COMPILER ${LUMIVEX_TOOL_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${LUMIVEX_TOOL_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${LUMIVEX_TOOL_PREFIX}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${LUMIVEX_TOOL_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# The COM server is loaded into other processes: carry the runtime inside the DLL.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
