# Sourced by scripts that build or install in root file systems of Debian releases. Needs root and mmdebstrap.
# MODFORGE_ROOTS names the folder that keeps them; making one again is what takes time.
roots=${MODFORGE_ROOTS:-$HOME/.cache/modforge-roots}

# Makes the root file system $1 of the Debian release $2, with the packages $3 (separated by commas), unless it is there.
debian_root() {
  [ ! -e "$roots/$1/made" ] || return 0
  mkdir -p "$roots"
  rm -rf "${roots:?}/$1"
  mmdebstrap --quiet --variant=minbase ${3:+--include="$3"} "$2" "$roots/$1" http://deb.debian.org/debian
  touch "$roots/$1/made"
}

# Runs a command in the root file system $1.
in_root() {
  local root=$roots/$1
  shift
  chroot "$root" /usr/bin/env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \
    DEBIAN_FRONTEND=noninteractive "$@"
}
