#!/usr/bin/env bash
# Plants the faults of a list that rooms.py has to find, each by itself in a tree that is sound without it: ROOMS.PY LIST
set -euo pipefail
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
while read -r file line; do
  rm -rf "$tree/src" && mkdir -p "$tree/src/base" "$(dirname "$tree/src/$file")"
  echo 'int sound = 1;' > "$tree/src/base/sound.cpp"
  python3 "$1" "$tree/src" >/dev/null || { echo "finds a fault where there is none"; exit 1; }
  echo "$line" > "$tree/src/$file"
  ! python3 "$1" "$tree/src" >/dev/null || { echo "misses in $file: $line"; exit 1; }
done < "$2"
