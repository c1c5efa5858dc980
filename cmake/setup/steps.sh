# Steps that ./check, ./rehearse and ./package-windows share. To be sourced at the root of the tree.
# shellcheck shell=bash

jobs=${HALVARD_JOBS:-$(nproc)}
# ninja's own progress: steps done, all, seconds since the start.
export NINJA_STATUS='[%f/%t, %e s] '
# Objects are found again in any checkout, wherever it is.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
# What the compiler says of its includes tells the cache enough: no run of the preprocessor before
# each of the compiler. Precompiled headers are found by what is in them.
export CCACHE_DEPEND=1 CCACHE_SLOPPINESS=pch_defines,time_macros
# They are large: what the cache has read of a file holds as long as the file isn't written to.
export CCACHE_INODECACHE=1

# Tells what is being done.
Step() { printf '\n== %s\n' "$*"; }

# Ends the run with one line.
Fail() {
  echo "$(basename "$0"): $*" >&2
  exit 1
}

# Build PRESET TARGET [GROUP]...: installs the groups of packages, builds the libraries that Debian
# doesn't package, then the target.
Build() {
  local preset=$1 target=$2 libraries=native
  shift 2
  if [[ $preset == windows ]]; then libraries=windows; fi
  Step "Installing what the $preset build needs"
  cmake/setup/install-packages "$@" || exit 1
  cmake/setup/build-dependencies "$libraries" || exit 1
  Step "Building: $preset"
  local configured
  configured=$(cmake --preset "$preset" 2>&1) || {
    echo "$configured" >&2
    Fail "the $preset build can't be configured"
  }
  cmake --build "build/$preset" --parallel "$jobs" --target "$target" ||
      Fail "the $preset build failed"
}
