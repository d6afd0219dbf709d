# How the installed programs are linked. A run over a small input takes about a millisecond, and half of it was the
# loader binding shared libraries; so a release links everything in. The sanitizers and valgrind need the shared C
# library, and a system without a static one falls back to the shared C library with a static C++ one.
include(CheckCXXSourceCompiles)

set(modforge_static_default OFF)
if(PROJECT_IS_TOP_LEVEL AND CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT MODFORGE_SANITIZE)
  set(modforge_static_default ON)
endif()
option(MODFORGE_STATIC "Link the programs without shared libraries" ${modforge_static_default})

add_library(modforge_linkage INTERFACE)
if(MODFORGE_STATIC)
  set(CMAKE_REQUIRED_LINK_OPTIONS -static)
  check_cxx_source_compiles("#include <iostream>\nint main() { std::cout << 1; }" MODFORGE_HAVE_STATIC_LIBC)
  unset(CMAKE_REQUIRED_LINK_OPTIONS)
  if(MODFORGE_HAVE_STATIC_LIBC)
    target_link_options(modforge_linkage INTERFACE -static)
  else()
    target_link_options(modforge_linkage INTERFACE -static-libstdc++ -static-libgcc)
  endif()
endif()
