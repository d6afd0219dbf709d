# modforge_add_module(): a VELM module of a linked program, made as part of the build. docs/cmake.md tells its arguments.
#
# The converter runs at build time through modforge_make_module.cmake, which reads what was asked for from a file that
# is written when the build is generated: no quoting stands between this file and the programs.
cmake_policy(PUSH)
cmake_policy(VERSION 3.20...3.25)

set(MODFORGE_MAKE_MODULE "${CMAKE_CURRENT_LIST_DIR}/modforge_make_module.cmake"
  CACHE INTERNAL "the script that makes a module at build time")

# Sets `result` to the full path of `file`: from the source folder, or the binary folder where only that has or gets it.
function(modforge_input_path result file)
  if(NOT IS_ABSOLUTE "${file}" AND NOT file MATCHES "^\\$<")
    if(EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${file}")
      set(file "${CMAKE_CURRENT_SOURCE_DIR}/${file}")
    else()
      set(file "${CMAKE_CURRENT_BINARY_DIR}/${file}")
    endif()
  endif()
  set(${result} "${file}" PARENT_SCOPE)
endfunction()

# Sets `result` to the byte order to write for BYTE_ORDER and C_ARRAY; empty: that of the machine that converts.
function(modforge_byte_order result asked for_array)
  set(order "${asked}")
  if(for_array AND NOT asked)
    foreach(language C CXX)
      if(NOT order AND CMAKE_${language}_BYTE_ORDER MATCHES "^(LITTLE|BIG)_ENDIAN$")
        string(TOLOWER "${CMAKE_MATCH_1}" order)
      endif()
    endforeach()
    if(NOT order)
      message(FATAL_ERROR "modforge_add_module: C_ARRAY needs BYTE_ORDER little or big: the compiler did not tell")
    endif()
  endif()
  if(order AND NOT order MATCHES "^(little|big)$")
    message(FATAL_ERROR "modforge_add_module: BYTE_ORDER is little or big, not ${order}")
  endif()
  set(${result} "${order}" PARENT_SCOPE)
endfunction()

function(modforge_add_module name)
  set(flags SYMBOLS_ONLY RUNTIME_CINIT QUIET_MISSING STRICT CHECK VERIFY)
  set(values INPUT OUTPUT PACKET_SIZE C_ARRAY BYTE_ORDER REPORT)
  set(lists ENTRIES IMPORTS_AGAINST)
  cmake_parse_arguments(PARSE_ARGV 1 arg "${flags}" "${values}" "${lists}")
  if(DEFINED arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "modforge_add_module: unknown arguments: ${arg_UNPARSED_ARGUMENTS}")
  endif()
  if(DEFINED arg_KEYWORDS_MISSING_VALUES)
    message(FATAL_ERROR "modforge_add_module: nothing behind ${arg_KEYWORDS_MISSING_VALUES}")
  endif()
  if(NOT DEFINED arg_INPUT)
    message(FATAL_ERROR "modforge_add_module: INPUT is missing")
  endif()
  if(DEFINED arg_C_ARRAY AND NOT arg_C_ARRAY MATCHES "^[A-Za-z_][A-Za-z0-9_]*$")
    message(FATAL_ERROR "modforge_add_module: C_ARRAY ${arg_C_ARRAY} is no C identifier")
  endif()
  modforge_byte_order(byte_order "${arg_BYTE_ORDER}" "${arg_C_ARRAY}")
  if((arg_CHECK OR arg_VERIFY OR arg_IMPORTS_AGAINST OR arg_REPORT OR arg_BYTE_ORDER) AND NOT TARGET modforge::velmdump)
    message(FATAL_ERROR "modforge_add_module: CHECK, VERIFY, IMPORTS_AGAINST, REPORT and BYTE_ORDER need velmdump, "
      "which this modforge was built without: build it with -DMODFORGE_BUILD_TOOLS=ON")
  endif()

  if(TARGET "${arg_INPUT}")
    set(input "$<TARGET_FILE:${arg_INPUT}>")
  else()
    modforge_input_path(input "${arg_INPUT}")
  endif()
  if(NOT DEFINED arg_OUTPUT)
    set(arg_OUTPUT "${name}.vlm")
  endif()
  get_filename_component(output "${arg_OUTPUT}" ABSOLUTE BASE_DIR "${CMAKE_CURRENT_BINARY_DIR}")
  set(outputs "${output}")
  set(depends "${input}" "$<TARGET_FILE:modforge::modforge>" "${MODFORGE_MAKE_MODULE}")
  if(TARGET "${arg_INPUT}")
    list(APPEND depends "${arg_INPUT}")
  endif()

  set(entries "")
  foreach(file IN LISTS arg_ENTRIES)
    modforge_input_path(file "${file}")
    list(APPEND entries "${file}")
  endforeach()
  # A list of names, a module, or a module that another call makes.
  set(against "")
  foreach(file IN LISTS arg_IMPORTS_AGAINST)
    if(TARGET "${file}")
      list(APPEND depends "${file}")
      get_target_property(file "${file}" MODFORGE_MODULE)
    else()
      modforge_input_path(file "${file}")
    endif()
    list(APPEND against "${file}")
  endforeach()
  list(APPEND depends ${entries} ${against})

  set(array "")
  if(DEFINED arg_C_ARRAY)
    string(REGEX REPLACE "\\.[^./]*$" "" array "${output}")
    list(APPEND outputs "${array}.c" "${array}.h")
  endif()
  set(report "")
  if(DEFINED arg_REPORT)
    get_filename_component(report "${arg_REPORT}" ABSOLUTE BASE_DIR "${CMAKE_CURRENT_BINARY_DIR}")
    list(APPEND outputs "${report}")
  endif()
  set(velmdump "")
  if(TARGET modforge::velmdump)
    set(velmdump "$<TARGET_FILE:modforge::velmdump>")
    list(APPEND depends "${velmdump}")
  endif()

  set(request "${CMAKE_CURRENT_BINARY_DIR}/CMakeFiles/${name}.modforge/request$<CONFIG>.cmake")
  set(text "# What modforge_add_module(${name}) asks for.\n")
  foreach(item
      "name=${name}" "modforge=$<TARGET_FILE:modforge::modforge>" "velmdump=${velmdump}" "input=${input}"
      "output=${output}" "array=${array}" "identifier=${arg_C_ARRAY}" "report=${report}" "packet_size=${arg_PACKET_SIZE}"
      "byte_order=${byte_order}" "convert_module=${arg_BYTE_ORDER}" "symbols_only=${arg_SYMBOLS_ONLY}"
      "runtime_cinit=${arg_RUNTIME_CINIT}" "quiet_missing=${arg_QUIET_MISSING}" "strict=${arg_STRICT}"
      "check=${arg_CHECK}" "verify=${arg_VERIFY}" "entries=${entries}" "against=${against}")
    string(REGEX MATCH "^([a-z_]+)=(.*)$" item "${item}")
    string(APPEND text "set(${CMAKE_MATCH_1} [==[${CMAKE_MATCH_2}]==])\n")
  endforeach()
  file(GENERATE OUTPUT "${request}" CONTENT "${text}")

  get_filename_component(output_name "${output}" NAME)
  add_custom_command(OUTPUT ${outputs}
    COMMAND "${CMAKE_COMMAND}" "-DREQUEST=${request}" -P "${MODFORGE_MAKE_MODULE}"
    DEPENDS ${depends} "${request}"
    COMMENT "Making the module ${output_name}"
    VERBATIM)
  add_custom_target(${name} ALL DEPENDS ${outputs})
  set_target_properties(${name} PROPERTIES MODFORGE_MODULE "${output}")
  # Where the programs are a part of this build: the files alone are not enough for make.
  add_dependencies(${name} modforge::modforge)
  if(velmdump)
    add_dependencies(${name} modforge::velmdump)
  endif()
  if(array)
    # What links this compiles the array, finds its header, and waits until both are made.
    get_filename_component(folder "${array}" DIRECTORY)
    add_library(${name}_array INTERFACE)
    target_sources(${name}_array INTERFACE "${array}.c")
    target_include_directories(${name}_array INTERFACE "${folder}")
    add_dependencies(${name}_array ${name})
  endif()
endfunction()

cmake_policy(POP)
