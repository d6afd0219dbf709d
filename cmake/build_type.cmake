# Optimised unless something else was asked for; another project's choice is its own. The flags stay CMake's or the
# user's. Our presets say -O2, not -O3 (the same speed here and smaller programs), and -O1 for Debug: the sanitizers'
# runs are half as long, and frames stay readable.
get_property(modforge_many_types GLOBAL PROPERTY GENERATOR_IS_MULTI_CONFIG)
if(PROJECT_IS_TOP_LEVEL AND NOT modforge_many_types AND NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, RelWithDebInfo, Debug" FORCE)
endif()
