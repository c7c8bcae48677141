#!/usr/bin/env bash
# The README's C++ example must be the program the build compiles.
set -euo pipefail
src="$2"
readme_code=$(awk '/^```cpp$/{on=1; next} /^```$/{on=0} on' "$src/README.md")
if ! diff <(printf '%s\n' "$readme_code") "$src/examples/hello.cpp"; then
  echo "README example and examples/hello.cpp differ" >&2
  exit 1
fi
