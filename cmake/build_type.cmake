# Optimised unless something else was asked for. -O2, not -O3: the same speed here and smaller programs.
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Release or Debug" FORCE)
endif()
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
set(CMAKE_CXX_FLAGS_DEBUG "-g -O1")  # -O1: the sanitizers' runs are half as long, and frames stay readable
