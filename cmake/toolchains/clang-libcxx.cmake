# The host with clang and its own C++ library, which is the device's.
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_FLAGS_INIT -stdlib=libc++)
