#!/usr/bin/env bash
# What a user's project gets from an installed modforge: installs the build $2 of the source $1 into a folder that is
# then moved, and lives through a day of a project that uses it, with Ninja and with make, under paths with blanks.
set -euo pipefail
source=$1 build=$2
room=$(mktemp -d)
trap 'rm -rf "$room"' EXIT
cd "$room"
cmake --install "$build" --prefix "$room/first place" >/dev/null
mv "first place" "last place"
export CMAKE_PREFIX_PATH="$room/last place"
for file in man/man1/modforge.1 man/man5/velm.5 bash-completion/completions/velmdump doc/modforge/copyright; do
  [ -s "last place/share/$file" ] || { echo "package_test: $file is not installed" >&2; exit 1; }
done

die() {
  echo "package_test: $*" >&2
  [ ! -f said ] || cat said >&2
  exit 1
}
# Runs a command that must succeed (fail); what it says is in the file `said`.
succeeds() { "$@" >said 2>&1 || die "failed: $*"; }
fails() { ! "$@" >said 2>&1 || die "succeeded: $*"; }
says() { grep -qF -- "$1" said || die "not said: $1"; }
# A build that has nothing to do leaves every file as it is.
builds_nothing() {
  touch "$room/now"
  succeeds cmake --build "$1"
  [ -z "$(find "$1" -newer "$room/now" \( -name '*.vlm' -o -name '*.o' \))" ] || die "a second build in $1 built something"
}
nothing_made_in() {
  [ -z "$(find "$1" -name 'audio.[vch]*' ! -name '*.o*' -o -name '*.making')" ] || die "a failed build left a module"
}

mkdir "the project"
cd "the project"
cp "$source"/examples/{audio,blink}.{out,entries} .
cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.20)
project(firmware C)
if(CMAKE_CROSSCOMPILING)
  set(CMAKE_SIZEOF_VOID_P 2)
endif()
find_package(modforge 1.5 CONFIG REQUIRED NO_CMAKE_FIND_ROOT_PATH)
add_custom_target(versions ALL COMMAND modforge::velmdump --version COMMAND modforge::coffdump --version)
modforge_add_module(audio INPUT audio.out ENTRIES audio.entries more.entries PACKET_SIZE 300
  C_ARRAY audio_module ${MORE})
modforge_add_module(names INPUT audio.out OUTPUT "a folder/names.vlm" SYMBOLS_ONLY IMPORTS_AGAINST audio)
modforge_add_module(big INPUT audio.out ENTRIES audio.entries PACKET_SIZE 300 C_ARRAY big_module BYTE_ORDER big CHECK VERIFY
  REPORT "a folder/big.html")
add_library(app STATIC app.c)
add_library(big_app STATIC app.c)
target_compile_definitions(big_app PRIVATE BIG)
target_link_libraries(big_app PRIVATE big_array)
target_link_libraries(app PRIVATE audio_array)
END
echo '#ifdef BIG
#include "big.h"
#define audio_module big_module
#define audio_module_words big_module_words
#else
#include "audio.h"
#endif
#include <stddef.h>
const void* module_bytes(size_t* count) { return *count = 4 * audio_module_words, audio_module; }' >app.c
echo '#include <stdio.h>
const void* module_bytes(size_t*);
int main(void) { size_t n; const void* b = module_bytes(&n); return fwrite(b, 1, n, stdout) != n; }' >main.c
printf 'no_such_symbol\n' >more.entries
"$room/last place/bin/modforge" -q -p=300 -e=audio.entries -o=expected.vlm audio.out >/dev/null

for generator in Ninja "Unix Makefiles"; do
  b="b $generator"
  succeeds cmake -G "$generator" -B "$b"
  succeeds cmake --build "$b"
  says no_such_symbol
  ! grep -qF "modforge Utility" said || die "the banner of a good run was shown"
  cmp "$b/audio.vlm" expected.vlm
  [ -s "$b/a folder/names.vlm" ] || die "no module where OUTPUT says"
  cc -o program main.c "$b/libapp.a" && ./program | cmp - expected.vlm
  # The array of a big-endian target has the numbers that its module has there.
  "$room/last place/bin/velmdump" convert "$b/big.vlm" -o swapped.vlm --byte-order little
  cmp swapped.vlm expected.vlm
  cc -o program main.c "$b/libbig_app.a" && ./program | od -A n -v -t x4 >words
  od -A n -v -t x4 --endian=big "$b/big.vlm" | cmp - words
  grep -q "<html" "$b/a folder/big.html"
  builds_nothing "$b"

  touch more.entries
  succeeds cmake --build "$b"
  [ "$b/audio.vlm" -nt "$room/now" ] || die "a changed entries file left the module as it was"

  # STRICT: what was a warning is a failure, and nothing stays behind that looks like a module.
  succeeds cmake -B "$b" -DMORE=STRICT
  fails cmake --build "$b"
  says no_such_symbol
  nothing_made_in "$b"
  succeeds cmake -B "$b" "-DMORE=STRICT;QUIET_MISSING;CHECK"
  fails cmake --build "$b"
  says "nameless symbol"
  nothing_made_in "$b"
  succeeds cmake -B "$b" "-DMORE=STRICT;QUIET_MISSING"
  succeeds cmake --build "$b"
  cmp "$b/audio.vlm" expected.vlm

  # A damaged program: the failure shows all that the converter said.
  cp audio.out kept.out
  head -c 5000 kept.out >audio.out
  fails cmake --build "$b"
  says "modforge Utility"
  says ">>"
  nothing_made_in "$b"
  mv kept.out audio.out
  rm -rf "$b"
done

# What is asked for wrongly is an error when the project is configured.
wrong() {
  fails cmake -G Ninja -B wrong "-DMORE=$1"
  says "$2"
}
wrong "PAKET_SIZE;300" "unknown arguments: PAKET_SIZE"
wrong "C_ARRAY;9lives" "is no C identifier"
wrong "BYTE_ORDER;middle" "little or big, not middle"

# A toolchain file as for a board: no system, other pointers, and nothing of this machine to be found.
cat >board.cmake <<END
set(CMAKE_SYSTEM_NAME Generic)
set(CMAKE_SYSTEM_PROCESSOR board)
set(CMAKE_C_COMPILER cc)
set(CMAKE_CXX_COMPILER c++)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_C_FLAGS_INIT -ffreestanding)
set(CMAKE_FIND_ROOT_PATH "$room/nowhere")
foreach(what LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_\${what} ONLY)
endforeach()
END
succeeds cmake -G Ninja -B board -DCMAKE_TOOLCHAIN_FILE=board.cmake
succeeds cmake --build board
cmp board/audio.vlm expected.vlm

# As a part of another project: its targets, flags and build type are its own, and there are no tests of ours in it.
mkdir parent
cd parent
cp ../audio.out .
cat >CMakeLists.txt <<END
cmake_minimum_required(VERSION 3.25)
project(parent C CXX)
enable_testing()
add_subdirectory("$source" modforge)
foreach(target floor stopwatch inner_loops format_tests)
  add_custom_target(\${target})
endforeach()
modforge_add_module(audio INPUT audio.out)
if(CMAKE_BUILD_TYPE OR CMAKE_CXX_STANDARD OR NOT CMAKE_CXX_FLAGS_RELEASE STREQUAL "-O9")
  message(FATAL_ERROR "the parent's choices were changed")
endif()
END
succeeds cmake -G Ninja -B build -DCMAKE_CXX_FLAGS_RELEASE=-O9
ctest --test-dir build -N | grep -qx 'Total Tests: 0' || die "the parent project got our tests"
succeeds cmake -G Ninja -B cross -DCMAKE_CXX_FLAGS_RELEASE=-O9 -DCMAKE_TOOLCHAIN_FILE=../board.cmake
succeeds ninja -C cross -n audio
says "Building modforge for this machine"
