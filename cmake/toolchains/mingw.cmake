# What both cross-builds share. QUILLON_WINDOWS_DEPS is where scripts/windows-deps.sh has put the
# libraries that are built from Debian's source packages.
set(CMAKE_C_COMPILER ${QUILLON_WINDOWS_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${QUILLON_WINDOWS_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${QUILLON_WINDOWS_TRIPLE}-windres)

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES QUILLON_WINDOWS_DEPS)
set(CMAKE_FIND_ROOT_PATH /usr/${QUILLON_WINDOWS_TRIPLE} ${QUILLON_WINDOWS_DEPS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Windows 7 and later; nothing of the compiler's own libraries beside the programs.
add_compile_definitions(_WIN32_WINNT=0x0601 UNICODE _UNICODE)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")
# CMake would switch back to shared libraries behind those that it knows to be static.
set(CMAKE_LINK_SEARCH_START_STATIC ON)
set(CMAKE_LINK_SEARCH_END_STATIC ON)
