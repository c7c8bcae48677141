# Shared settings of the build scripts.
BUILD_PACKAGES=(g++ cmake ninja-build libgtest-dev libffi-dev)
ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
JOBS="${JOBS:-$(nproc)}"
configure() {  # configure <build-dir> [cmake options...]
  local dir="$1"; shift
  cmake -S "$ROOT" -B "$dir" -G Ninja "$@" >/dev/null
}
