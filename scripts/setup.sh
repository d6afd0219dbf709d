# Sourced by the scripts that build: gets what they need onto a Debian 12 machine, and nothing that is there already.
#
# A package counts as there when what we use of it is there, however it was installed.

# What building the programs needs: package, then a command or a file (a pattern) that proves it.
build_needs='
cmake               cmake
ninja-build         ninja
g++                 g++
libcli11-dev        /usr/include/CLI/CLI.hpp
nlohmann-json3-dev  /usr/include/nlohmann/json.hpp
'

# What the tests need beyond that.
test_needs='
libgtest-dev        /usr/include/gtest/gtest.h
libgmock-dev        /usr/include/gmock/gmock.h
libxml2-utils       xmllint
file                file
mandoc              mandoc
python3             python3
python3-jsonschema  /usr/lib/python3/dist-packages/jsonschema
python3-html5lib    /usr/lib/python3/dist-packages/html5lib
'

# What the checks need beyond that.
check_needs='
clang-14            clang++-14
libclang-rt-14-dev  /usr/lib/llvm-14/lib/clang/*/lib/linux/libclang_rt.asan-*.a
clang-format-14     clang-format-14
clang-tidy-14       clang-tidy-14
valgrind            valgrind
strace              strace
chromium            chromium
gcc-arm-none-eabi   arm-none-eabi-gcc
'

# What the count of lines and branches needs beyond the tests.
coverage_needs='
gcovr    gcovr
python3  python3
'

# What the examples' builds need beyond that.
example_needs='
make   make
meson  meson
'

# What making packages needs beyond building.
package_needs='
dpkg-dev  dpkg-shlibdeps
lintian   lintian
'

# Prints the packages of the list $1 whose proof is missing.
missing_packages() {
  local package proof
  while read -r package proof; do
    [ -n "$package" ] || continue
    case "$proof" in
      /*) compgen -G "$proof" >/dev/null || echo "$package" ;;
      *) command -v "$proof" >/dev/null || echo "$package" ;;
    esac
  done <<<"$1"
}

# Installs what is missing of the list $1; ends the script with a message when it may not or cannot.
install_missing() {
  local packages as_root=()
  mapfile -t packages < <(missing_packages "$1")
  [ ${#packages[@]} -gt 0 ] || return 0
  if ! command -v apt-get >/dev/null; then
    echo "Missing here, by their Debian names: ${packages[*]}" >&2
    exit 1
  fi
  if [ "$(id -u)" -ne 0 ]; then
    # Without a terminal sudo cannot ask for a password.
    if ! command -v sudo >/dev/null || { [ ! -t 0 ] && ! sudo -n true 2>/dev/null; }; then
      echo "Missing packages, and no right to install them. As root:" >&2
      echo "  apt-get install --no-install-recommends ${packages[*]}" >&2
      exit 1
    fi
    as_root=(sudo)
  fi
  echo "Installing ${packages[*]}"
  "${as_root[@]}" apt-get update -qq >&2 &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
      apt-get install -y -qq --no-install-recommends "${packages[@]}" >/dev/null || {
    echo "Could not install: ${packages[*]}" >&2
    exit 1
  }
}

# Configures and builds the preset $1 in build/$1, quietly when all is well; further arguments name targets.
build_preset() {
  local preset=$1 log
  shift
  # A tree that was moved or copied: its old configuration names another place.
  if [ -f "build/$preset/CMakeCache.txt" ] &&
    ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" "build/$preset/CMakeCache.txt"; then
    rm -rf "build/$preset"
  fi
  # A compiler cache saves most of a second build, where it has a place to write.
  if [ -z "${CMAKE_CXX_COMPILER_LAUNCHER-}" ] && command -v ccache >/dev/null; then
    log=$(ccache --get-config cache_dir 2>/dev/null || true)
    if [ -n "$log" ] && mkdir -p "$log" 2>/dev/null && [ -w "$log" ]; then
      export CMAKE_CXX_COMPILER_LAUNCHER=ccache
    fi
  fi
  mkdir -p "build/$preset"
  log=build/$preset/build.log
  echo "Building build/$preset"
  if ! { cmake --preset "$preset" && cmake --build --preset "$preset" ${1+--target "$@"}; } >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
  fi
}
