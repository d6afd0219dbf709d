# modforge as a part of a project that is built for another machine: the programs must run here, so a build of their own
# makes them with this machine's compiler. The names are those of an installed modforge.
set(MODFORGE_HOST_CXX_COMPILER "" CACHE STRING "This machine's compiler, to build modforge with; empty: CMake's choice")
set(modforge_host_dir "${PROJECT_BINARY_DIR}/host")
set(modforge_host_suffix "")
if(CMAKE_HOST_WIN32)
  set(modforge_host_suffix .exe)
endif()

# As in any project that includes us: companions when they are asked for.
set(modforge_host_programs modforge)
set(modforge_host_tools OFF)
if(MODFORGE_BUILD_TOOLS AND NOT MODFORGE_BUILD_TOOLS STREQUAL "AUTO")
  list(APPEND modforge_host_programs velmdump coffdump)
  set(modforge_host_tools ON)
endif()
list(TRANSFORM modforge_host_programs REPLACE "(.+)" "${modforge_host_dir}/src/\\1${modforge_host_suffix}"
  OUTPUT_VARIABLE modforge_host_files)

# Neither the project's toolchain nor what a cross build has set in the environment may reach the inner build.
set(modforge_host_cmake "${CMAKE_COMMAND}" -E env --unset=CMAKE_TOOLCHAIN_FILE --unset=CC --unset=CXX --unset=CPPFLAGS
  --unset=CFLAGS --unset=CXXFLAGS --unset=LDFLAGS "${CMAKE_COMMAND}")
set(modforge_host_compiler "")
if(MODFORGE_HOST_CXX_COMPILER)
  set(modforge_host_compiler "-DCMAKE_CXX_COMPILER=${MODFORGE_HOST_CXX_COMPILER}")
endif()
cmake_host_system_information(RESULT modforge_host_cores QUERY NUMBER_OF_LOGICAL_CORES)
file(GLOB_RECURSE modforge_host_sources src/*.cc src/*.h src/CMakeLists.txt)
add_custom_command(OUTPUT ${modforge_host_files}
  COMMAND ${modforge_host_cmake} -G "${CMAKE_GENERATOR}" -S "${PROJECT_SOURCE_DIR}" -B "${modforge_host_dir}"
    -DCMAKE_BUILD_TYPE=Release "-DCMAKE_MAKE_PROGRAM=${CMAKE_MAKE_PROGRAM}" ${modforge_host_compiler}
    -DMODFORGE_BUILD_TOOLS=${modforge_host_tools} -DMODFORGE_BUILD_TESTING=OFF
  COMMAND ${modforge_host_cmake} --build "${modforge_host_dir}" --config Release --parallel ${modforge_host_cores}
  COMMAND "${CMAKE_COMMAND}" -E touch ${modforge_host_files}
  DEPENDS ${modforge_host_sources} CMakeLists.txt
  COMMENT "Building modforge for this machine"
  VERBATIM)
add_custom_target(modforge_host DEPENDS ${modforge_host_files})

foreach(name IN LISTS modforge_host_programs)
  add_executable(modforge::${name} IMPORTED GLOBAL)
  set_target_properties(modforge::${name} PROPERTIES
    IMPORTED_LOCATION "${modforge_host_dir}/src/${name}${modforge_host_suffix}")
  add_dependencies(modforge::${name} modforge_host)
endforeach()
