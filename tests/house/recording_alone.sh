#!/usr/bin/env bash
# Runs a program that links the room recording alone, and looks at what is in it: PROGRAM CTFMEG.
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
"$2" simulate --quiet --channels 4 --trials 2 --samples 50 "$folder/run.ds"
[ "$("$1" "$folder/run.ds")" = "2 4 50" ]
! ldd "$1" | grep -i megreader
! nm -C "$1" | grep -E 'CMEGDatazk|CString'
