#!/usr/bin/env bash
# Configures and builds one tree: scripts/build.sh DIR [extra cmake args...]
set -euo pipefail
cd "$(dirname "$0")/.."
dir=$1; shift
cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
cmake --build "$dir" -j2
