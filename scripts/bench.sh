#!/usr/bin/env bash
# Builds the benches in a Release build and runs them. The data-tree and SAX
# benches race other libraries, which are installed here from Debian when
# missing, together with the data packages whose files they read.
#   bash scripts/bench.sh [BENCH...]    (default: every bench)
# BUILD_DIR chooses the build folder (default: build-bench).
set -euo pipefail
source "$(dirname "$0")/common.sh"
PEERS=(rapidjson-dev nlohmann-json3-dev libpugixml-dev libxml2-dev libexpat1-dev libsass-dev)
DATA=(shared-mime-info iso-codes)
bash "$ROOT/scripts/deps.sh" "${BUILD_PACKAGES[@]}" "${PEERS[@]}" "${DATA[@]}"
bash "$ROOT/scripts/fetch_css_corpus.sh"

BUILD_DIR="${BUILD_DIR:-$ROOT/build-bench}"
configure "$BUILD_DIR" -DCMAKE_BUILD_TYPE=Release -DNORVANE_TESTS=OFF -DNORVANE_BENCH=ON
if [ $# -gt 0 ]; then
  benches=("$@")
else
  benches=()
  for src in "$ROOT"/bench/bench_*.cpp; do benches+=("$(basename "$src" .cpp)"); done
fi
ninja -C "$BUILD_DIR" -j "$JOBS" "${benches[@]}"

# The XML files come from the data packages; ask dpkg where they lie.
xml_files=()
for spec in shared-mime-info:freedesktop.org.xml iso-codes:iso_639-3.xml; do
  file=$(dpkg -L "${spec%%:*}" | grep "/${spec#*:}\$" | head -n 1 || true)
  [ -n "$file" ] && xml_files+=("$file")
done

for b in "${benches[@]}"; do
  echo "== $b"
  case "$b" in
    bench_sax | bench_xml_tree) "$BUILD_DIR/$b" "${xml_files[@]}" ;;
    *) "$BUILD_DIR/$b" ;;
  esac
done
