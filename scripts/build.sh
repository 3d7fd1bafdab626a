#!/usr/bin/env bash
# Configures and builds one tree: scripts/build.sh DIR [extra cmake args...]
# Compiles through ccache when it is installed, so a rebuild of an unchanged
# tree (a fresh clone on the same machine) is quick.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=$1; shift
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" "$@" >/dev/null
cmake --build "$dir" -j2
