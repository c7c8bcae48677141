#!/usr/bin/env bash
# Fetches real style sheets that Debian packages ship (Bootstrap 3/4/5, Font
# Awesome, documentation themes) into a cache folder for the CSS tests and
# benches: `apt-get download` and `dpkg-deb -x`, never an installation. A
# package already in the cache is skipped; without a network nothing fails,
# and the tests fall back on the small sample in tests/data/css/.
set -uo pipefail
ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
CACHE="${NORVANE_CSS_CORPUS:-$ROOT/.cache/css-corpus}"
PACKAGES=(libjs-bootstrap libjs-bootstrap4 libjs-bootstrap5 fonts-font-awesome sphinx-rtd-theme-common
          libjs-sphinxdoc)

command -v apt-get >/dev/null && command -v dpkg-deb >/dev/null || exit 0
mkdir -p "$CACHE" || exit 0
for pkg in "${PACKAGES[@]}"; do
  [ -d "$CACHE/$pkg" ] && continue
  tmp="$(mktemp -d)"
  if (cd "$tmp" && apt-get download "$pkg" >/dev/null 2>&1) && dpkg-deb -x "$tmp"/*.deb "$tmp/root" 2>/dev/null; then
    # Only the style sheets are kept.
    mkdir -p "$CACHE/$pkg.part"
    (cd "$tmp/root" && find . -name '*.css' -type f -exec cp --parents {} "$CACHE/$pkg.part/" \;)
    mv "$CACHE/$pkg.part" "$CACHE/$pkg"
  else
    echo "css corpus: $pkg not fetched (no network or no package)" >&2
  fi
  rm -rf "$tmp"
done
exit 0
