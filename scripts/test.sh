#!/usr/bin/env bash
# Builds everything and runs every test twice: in an optimised build, and in
# a build with the address and undefined-behaviour sanitizers.
set -euo pipefail
source "$(dirname "$0")/common.sh"
bash "$ROOT/scripts/deps.sh" "${BUILD_PACKAGES[@]}"
bash "$ROOT/scripts/fetch_css_corpus.sh"

# Real pages for the HTML round-trip test; without network the test falls
# back to its committed sample.
bash "$ROOT/scripts/fetch_html_corpus.sh" || echo "html corpus: fetch failed; the round-trip test uses tests/data/html"

echo "== release build and tests"
configure "$ROOT/build-test" -DCMAKE_BUILD_TYPE=RelWithDebInfo
ninja -C "$ROOT/build-test" -j "$JOBS"
(cd "$ROOT/build-test" && ctest --output-on-failure -j "$JOBS")

echo "== sanitizer build (address, undefined) and tests"
configure "$ROOT/build-asan" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DNORVANE_SANITIZE=ON -DNORVANE_BENCH=OFF
ninja -C "$ROOT/build-asan" -j "$JOBS"
(cd "$ROOT/build-asan" && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  ctest --output-on-failure -j "$JOBS")
echo "all tests passed"
