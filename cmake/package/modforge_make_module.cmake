# Makes one module at build time, as the file REQUEST asks: cmake -DREQUEST=FILE -P modforge_make_module.cmake
#
# Everything is written into a folder beside the module and moved to its place when all went well; what a run before
# left there is gone by then. So a failed build leaves no module, and never an old one that looks new.
cmake_minimum_required(VERSION 3.20)
include("${REQUEST}")

get_filename_component(folder "${output}" DIRECTORY)
get_filename_component(output_name "${output}" NAME)
set(room "${folder}/.${output_name}.making")
set(made "${room}/${output_name}")  # by its own name: messages and the report show it
set(files "${output}" ${report})
if(array)
  list(APPEND files "${array}.c" "${array}.h")
endif()

function(fail reason)
  file(REMOVE_RECURSE "${room}")
  file(REMOVE ${files} ${report}.making)
  message(FATAL_ERROR "modforge_add_module(${name}): ${reason}")
endfunction()

# Runs a program. Its standard output, where the banner is, is shown only when it fails; its standard error always, and
# with STRICT a word there is a failure.
function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE status OUTPUT_VARIABLE said ERROR_VARIABLE warned)
  set(shown "${warned}")
  get_filename_component(program "${ARGV0}" NAME_WE)
  if(program STREQUAL "velmdump" OR NOT status STREQUAL "0")
    set(shown "${said}${warned}")
  endif()
  string(REGEX REPLACE "\n+$" "" shown "${shown}")
  string(REPLACE "${made}" "${output}" shown "${shown}")  # nobody knows the file by its passing place
  if(NOT shown STREQUAL "" AND NOT (said_already AND status STREQUAL "0"))
    message(NOTICE "${shown}")
  endif()
  if(NOT status STREQUAL "0")
    list(JOIN ARGV "' '" command)
    message(NOTICE "status ${status} of: '${command}'")
    fail("${program} failed")
  elseif(strict AND NOT shown STREQUAL "")
    fail("STRICT, and ${program} warned")
  endif()
endfunction()

# The .c and .h file of the array, from the words in `words`.
function(write_array words)
  file(SIZE "${made}" count)
  math(EXPR count "${count} / 4")
  get_filename_component(array_name "${array}" NAME)
  get_filename_component(input_name "${input}" NAME)
  string(TOUPPER "${identifier}_H" guard)
  set(origin "/* The module ${output_name} of ${input_name}, for a ${byte_order}-endian target. Made by the build: do not edit. */\n")
  file(WRITE "${made}.h" "${origin}#ifndef ${guard}
#define ${guard}

#include <stdint.h>

#ifdef __cplusplus
extern \"C\" {
#endif

extern const uint32_t ${identifier}[${count}];
extern const uint32_t ${identifier}_words; /* how many they are */

#ifdef __cplusplus
}
#endif

#endif
")
  file(READ "${words}" text)
  file(WRITE "${made}.c" "${origin}#include \"${array_name}.h\"

/* A loader reads words: 4-byte aligned also where the target asks less of uint32_t. */
#if defined(__GNUC__)
__attribute__((aligned(4)))
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
_Alignas(4)
#endif
const uint32_t ${identifier}[${count}] = {
${text}};

const uint32_t ${identifier}_words = ${count};
")
endfunction()

file(REMOVE ${files})
file(REMOVE_RECURSE "${room}")
file(MAKE_DIRECTORY "${room}")

set(options "")
foreach(file IN LISTS entries)
  list(APPEND options "-e=${file}")
endforeach()
foreach(pair "symbols_only -s" "runtime_cinit -c")
  string(REPLACE " " ";" pair "${pair}")
  list(GET pair 0 asked)
  if(${asked})
    list(GET pair 1 option)
    list(APPEND options ${option})
  endif()
endforeach()
if(packet_size)
  list(APPEND options "-p=${packet_size}")
endif()
set(quiet "")
if(quiet_missing)
  set(quiet -q)
endif()

run("${modforge}" ${options} ${quiet} "-o=${made}" "${input}")
if(verify)
  run("${velmdump}" verify "${made}" "${input}" ${options})
endif()
if(check)
  run("${velmdump}" check "${made}")
endif()
set(against_options "")
foreach(file IN LISTS against)
  list(APPEND against_options --against "${file}")
endforeach()
if(against_options)
  run("${velmdump}" imports "${made}" ${against_options})
endif()

# The byte-order word tells what the converter wrote.
file(READ "${made}" order_word OFFSET 8 LIMIT 4 HEX)
set(made_order little)
if(order_word STREQUAL "00010203")
  set(made_order big)
endif()
set(other_order FALSE)
if(byte_order AND NOT byte_order STREQUAL made_order)
  set(other_order TRUE)
  if(NOT velmdump)
    fail("BYTE_ORDER ${byte_order} on a ${made_order}-endian machine needs velmdump, which this modforge was built without")
  endif()
endif()
if(array AND other_order)
  run("${velmdump}" convert "${made}" -o "${made}.words" --byte-order ${byte_order} --form text)
  write_array("${made}.words")
elseif(array)
  set(said_already TRUE)
  run("${modforge}" -fc ${quiet} ${options} "-o=${made}.words" "${input}")
  set(said_already FALSE)
  write_array("${made}.words")
endif()
if(convert_module AND other_order)
  run("${velmdump}" convert "${made}" -o "${made}.converted" --byte-order ${byte_order} --form binary)
  file(RENAME "${made}.converted" "${made}")
endif()
if(report)
  get_filename_component(report_folder "${report}" DIRECTORY)
  file(MAKE_DIRECTORY "${report_folder}")
  run("${velmdump}" report "${made}" -o "${report}.making")
  file(RENAME "${report}.making" "${report}")
endif()
if(array)
  file(RENAME "${made}.c" "${array}.c")
  file(RENAME "${made}.h" "${array}.h")
endif()
file(RENAME "${made}" "${output}")
file(REMOVE_RECURSE "${room}")
