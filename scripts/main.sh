#!/usr/bin/env bash
# Builds the library and the command-line tool, then runs the tool's main
# job on its embedded example. Extra arguments go to `norvane`.
set -euo pipefail
source "$(dirname "$0")/common.sh"
bash "$ROOT/scripts/deps.sh" "${BUILD_PACKAGES[@]}"
configure "$ROOT/build" -DCMAKE_BUILD_TYPE=Release -DNORVANE_TESTS=OFF -DNORVANE_BENCH=OFF
ninja -C "$ROOT/build" -j "$JOBS" norvane >/dev/null
exec "$ROOT/build/norvane" "$@"
