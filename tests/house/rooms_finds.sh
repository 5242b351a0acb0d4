#!/usr/bin/env bash
# Plants faults that rooms.py has to find, each by itself in a tree that is sound without it.
set -euo pipefail
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
fault() {  # FILE LINE-OF-CODE
  rm -rf "$tree/src" && mkdir -p "$tree/src/base" "$(dirname "$tree/src/$1")"
  echo 'int sound = 1;' > "$tree/src/base/sound.cpp"
  python3 "$rooms" "$tree/src" >/dev/null || { echo "finds a fault where there is none"; exit 1; }
  echo "$2" > "$tree/src/$1"
  ! python3 "$rooms" "$tree/src" >/dev/null || { echo "misses in $1: $2"; exit 1; }
}
rooms=$1
fault base/a.h '#include "ctf/text.h"'
fault ctf/a.cpp '#include <megreader/framework/cstring.h>'
fault recording/a.cpp '#include "hosts/reader/ctf_dataset_reader.h"'
fault hosts/datamodel/a.cpp '#include "ctf/text.h"'
fault check/a.cpp '  #  include   "cli/commands.h"'
fault attic/a.cpp 'int a;'
fault recording/a.cpp '#include <windows.h>'
fault base/win32/a.h '#include <windows.h>'
fault base/a.cpp '#include <unistd.h>'
fault output/a.cpp 'void f() { std::cout << 1; }'
fault hosts/reader/a.cpp 'const char* f() { return std::getenv("A"); }'
fault ctf/a.cpp "int n = 1'000; void f() { printf(\"//\"); }"
echo "12 faults found"
