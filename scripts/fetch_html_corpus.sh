#!/usr/bin/env bash
# Fetches a corpus of real HTML pages for the round-trip test: the manuals of
# Debian's documentation packages, downloaded with `apt-get download` and
# unpacked with `dpkg-deb -x` into .cache/html-corpus (never installed).
# A warm cache costs nothing; without network the test falls back to the
# small sample in tests/data/html, and this script says so and succeeds.
set -uo pipefail
ROOT="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
CACHE="${NORVANE_HTML_CORPUS:-$ROOT/.cache/html-corpus}"
PACKAGES=(python3.11-doc bash-doc)

if [ -f "$CACHE/.complete" ]; then
  exit 0
fi
if ! command -v apt-get >/dev/null || ! command -v dpkg-deb >/dev/null; then
  echo "html corpus: apt-get/dpkg-deb not available; the test uses tests/data/html" >&2
  exit 0
fi
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
mkdir -p "$CACHE"
fetched=0
for pkg in "${PACKAGES[@]}"; do
  policy="$(apt-cache policy "$pkg" 2>/dev/null)"
  if ! grep -q 'Candidate: [0-9]' <<<"$policy"; then
    echo "html corpus: $pkg is not in this system's archive, skipped" >&2
    continue
  fi
  if (cd "$work" && apt-get download -q "$pkg" >/dev/null 2>&1); then
    deb="$(ls "$work"/"${pkg}"_*.deb 2>/dev/null | head -n1)"
    if [ -n "$deb" ] && dpkg-deb -x "$deb" "$CACHE/$pkg"; then
      fetched=$((fetched + 1))
    fi
    rm -f "$work"/*.deb
  else
    echo "html corpus: could not download $pkg (no network?)" >&2
  fi
done
if [ "$fetched" -eq 0 ]; then
  rmdir "$CACHE" 2>/dev/null
  echo "html corpus: nothing fetched; the round-trip test uses the sample in tests/data/html" >&2
  exit 0
fi
pages="$(find "$CACHE" -name '*.html' -type f | wc -l)"
touch "$CACHE/.complete"
echo "html corpus: $pages pages in $CACHE"
