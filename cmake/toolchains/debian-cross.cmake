# Shared by the cross toolchain files, which set "triplet" and "emulator".
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_C_COMPILER ${triplet}-gcc)
# GCC 7 and 10 changed how some arguments are passed, and notes every use of them.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L /usr/${triplet})

# Nothing of the host's is found, only what lies in the target's root or was built for it.
set(CMAKE_FIND_ROOT_PATH /usr/${triplet} ${CMAKE_BINARY_DIR} ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
