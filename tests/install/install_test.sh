#!/usr/bin/env bash
# Installs a build, moves what was installed elsewhere, and builds and runs the examples with nothing but that. What
# they print is compared with what was simulated, and with what the command exports. The Python package is installed
# there and, as a wheel, in an environment of its own.
#   install_test.sh BUILD_FOLDER SOURCE_FOLDER COMPILER
set -euo pipefail
export LC_ALL=C
build=$1 source=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() { echo "FAILED: $*" >&2; exit 1; }
expect() { [ "$2" = "$3" ] || fail "$1: expected '$2', but it is '$3'"; }
expect_line() { grep -qxF -- "$2" <<<"$3" || fail "$1: no line '$2' in: $3"; }

echo "== installation"
cmake --install "$build" --prefix "$work/first" >/dev/null
prefix=$work/moved
mv "$work/first" "$prefix"
if grep -rIlF -e "$work/first" -e "$source" -e "$build" "$prefix"; then fail "these files know where they were made"; fi
libraries=$(dirname "$(find "$prefix" -name libMEGReader.so)")
version=$(sed -n 's/^project(MEGReader VERSION \([0-9.]*\).*/\1/p' "$source/CMakeLists.txt")
expect "version of the command" "ctfmeg $version" "$("$prefix/bin/ctfmeg" --version)"
expect "soname" "libMEGReader.so.${version%%.*}" \
  "$(objdump -p "$libraries/libMEGReader.so" | awk '$1 == "SONAME" { print $2 }')"
for page in man/man1/ctfmeg.1 bash-completion/completions/ctfmeg zsh/site-functions/_ctfmeg; do
  [ -s "$prefix/share/$page" ] || fail "$page is not installed"
done

echo "== headers"
headers=$prefix/include
# All public headers, and each compiles by itself with nothing but them.
needed=$(cd "$source/include" && find . -name '*.h' -printf '%P\n' | sort)
expect "installed headers" "$needed" "$(cd "$headers" && find . -name '*.h' -printf '%P\n' | sort)"
mkdir "$work/alone"
for header in $needed; do
  echo "#include <$header>" > "$work/alone/${header//\//_}.cpp"
done
cd "$work/alone"
"$compiler" -std=c++20 -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror -fsyntax-only -I"$headers" ./*.cpp
# What would outlive its owner does not compile.
cat > dangling.cpp <<'END'
#include <ctfmeg/recording.h>
auto& name = ctfmeg::Recording::open("run.ds").name();
END
if "$compiler" -std=c++20 -fsyntax-only -I"$headers" dangling.cpp 2>/dev/null; then fail "a dangling name compiles"; fi
[ -s "$(find "$prefix/share/doc" -name recording.md)" ] || fail "documents are not installed"

echo "== examples"
cp -r "$source/examples" "$work/sources"
cmake -S "$work/sources" -B "$work/examples" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_BUILD_TYPE=Debug >/dev/null
cmake --build "$work/examples" >/dev/null
PKG_CONFIG_PATH=$libraries/pkgconfig
export PKG_CONFIG_PATH
expect "version for pkg-config" "$version" "$(pkg-config --modversion ctfmeg)"
# shellcheck disable=SC2046  # options, one word each
"$compiler" "$work/sources/read_channel.cpp" -o "$work/by_pkg_config" \
  $(pkg-config --cflags --libs megreader-host) -Wl,-rpath,"$libraries"
# shellcheck disable=SC2046
"$compiler" "$work/sources/printing_host.cpp" -o "$work/host_by_pkg_config" \
  $(pkg-config --cflags --libs megreader) -Wl,-rpath,"$libraries"
cd "$work"
PATH=$work/examples:$prefix/bin:$PATH

# DATASET CHANNEL TRIAL SAMPLE: sets `raw` and `value`, the latter in its unit, as they are exported.
sample_of() {
  local -a words=(export --quiet "$1" --channels "$2" --trials "$3" --samples "$4:$4" -o -)
  raw=$(ctfmeg "${words[@]}" | tail -c 4 | od -An -td4 | tr -d ' ')
  value=$(ctfmeg "${words[@]}" --physical | tail -c 8 | od -An -tf8 | awk '{ printf "%.9e", $1 }')
}

mkdir -p tree/deeper
ctfmeg simulate --quiet tree/a.ds --channels 20 --trials 3 --samples 240 --rate 600 --pretrigger 60
ctfmeg simulate --quiet tree/deeper/b.ds --channels 8 --trials 1 --samples 100
ctfmeg simulate --quiet tree/deeper/broken.ds --channels 8 --trials 1 --samples 100
truncate -s 1000 tree/deeper/broken.ds/broken.res4

echo "== read_channel"
# The system's clock counts from the recording's start: trial 1 begins after 240 samples at 600 Hz, and its trigger
# comes 60 samples later.
clock=$(read_channel tree/a.ds SCLK01 1)
expect "lines" 241 "$(wc -l <<<"$clock")"
expect_line "clock" "# SCLK01-177 of trial 1: seconds, s" "$clock"
expect_line "clock" "-0.100000 4.000000000e-01" "$clock"
expect_line "clock" "0.000000 5.000000000e-01" "$clock"
sample_of tree/a.ds MLF11 2 5
expect "sample 5" "-0.091667 $value" "$(read_channel tree/a.ds MLF11 2 | sed -n 7p)"
expect "the same by pkg-config" "-0.091667 $value" "$(./by_pkg_config tree/a.ds MLF11 2 | sed -n 7p)"
if read_channel tree/a.ds MLF11 3 2>/dev/null; then fail "there is no trial 3"; fi

echo "== Python"
sample_of tree/a.ds MLF11 2 5
packages=$prefix/lib/python3/dist-packages
PYTHONPATH=$packages LD_LIBRARY_PATH=$libraries /usr/bin/python3 "$source/tests/install/python_test.py" "$packages" \
  "$libraries/libctfmeg.so" "$version" tree/a.ds "$raw" "$value"

echo "== wheel"
# Of sources that are nowhere else, so that all it needs is seen to be there, and what it leaves behind.
mkdir sources_of_wheel
cp -r "$source/CMakeLists.txt" "$source/python" sources_of_wheel
find sources_of_wheel -name __pycache__ -prune -exec rm -r {} +
before=$(find sources_of_wheel | sort)
/usr/bin/python3 -m venv --without-pip --system-site-packages environment
export PIP_CONFIG_FILE=/dev/null PIP_DISABLE_PIP_VERSION_CHECK=1
CTFMEG_LIBRARY=$libraries/libctfmeg.so environment/bin/python -m pip wheel --quiet --no-index --no-deps \
  --no-build-isolation --wheel-dir wheels sources_of_wheel/python
expect "files beside the sources" "$before" "$(find sources_of_wheel | sort)"
expect "the wheel" "ctfmeg-$version-py3-none-linux_$(uname -m).whl" "$(ls wheels)"
environment/bin/python -m pip install --quiet --no-index --no-deps wheels/*.whl
packages=$(echo "$work"/environment/lib/python3.*/site-packages)
(unset PYTHONPATH && environment/bin/python "$source/tests/install/python_test.py" "$packages" \
  "$packages/ctfmeg/libctfmeg.so.${version%%.*}" "$version" tree/a.ds "$raw" "$value")
expect "version for pip" "$version" "$(environment/bin/python -m pip list --format=freeze | sed -n 's/^ctfmeg==//p')"

echo "== read_window"
expect "the same through C" "$(tail -n +2 <<<"$clock")" "$(read_window tree/a.ds SCLK01 1)"
if shown=$(read_window tree/a.ds SCLK 1 2>&1); then fail "there is no channel SCLK"; fi
grep -q 'a.res4: has no channel SCLK; the nearest is SCLK01$' <<<"$shown" || fail "a missing channel is named: $shown"

echo "== average_epochs"
# Tones are at the triggers, where the clock says 0.1, 0.5 and 0.9 s; the stimulus pulse begins there.
mean=$(average_epochs tree/a.ds tone SCLK01-177 0.05 0.1)
expect "lines" 92 "$(wc -l <<<"$mean")"
expect_line "mean clock" "# tone: 3 averaged, 0 too near an edge; seconds, SCLK01-177 in s" "$mean"
expect_line "mean clock" "0.000000 5.000000000e-01" "$mean"
pulse=$(average_epochs tree/a.ds tone UPPT001 0.05 0.1)
expect_line "before the pulse" "-0.001667 0.000000000e+00" "$pulse"
expect_line "its start" "0.000000 1.000000000e+00" "$pulse"
# The last sample is 179 after the trigger: a longer epoch goes on in the next trial, where there is one.
expect_line "epochs past the end" "# tone: 2 averaged, 1 too near an edge; seconds, UPPT001 in 1" \
  "$(average_epochs tree/a.ds tone UPPT001 0 0.35)"
sed -i '0,/+0\t\t\t\t     +0/s//+0\t\t\t\t     -0.06/' tree/a.ds/MarkerFile.mrk
mean=$(average_epochs tree/a.ds tone SCLK01-177 0.05 0.1)
expect_line "one too near the start" "# tone: 2 averaged, 1 too near an edge; seconds, SCLK01-177 in s" "$mean"
expect_line "and the mean of the others" "0.000000 7.000000000e-01" "$mean"

echo "== printing_host"
# The last sample of the first trial: 20 channels, the last of them an ADC.
sample_of tree/a.ds UADC001 0 239
for program in printing_host ./host_by_pkg_config; do
  shown=$($program tree/a.ds/a.meg4)
  expect_line "$program" "a: 3 trials, 20 channels" "$shown"
  expect_line "$program" "last sample of trial 0: $raw" "$shown"
  expect_line "$program" "progress: 2 of 3" "$shown"
done
if shown=$(printing_host tree/a.ds/b.meg4); then fail "there is no b.meg4"; fi
grep -q '^message: ' <<<"$shown" || fail "a missing file is shown: $shown"
grep -q '^finding: file.notFound: ' <<<"$shown" || fail "a missing file is reported: $shown"

echo "== scan_tree"
if scan_tree tree > list.csv; then fail "one of the datasets is broken"; fi
expect_line "a.ds" '"tree/a.ds",20,3,240,600,2,0,' "$(cat list.csv)"
expect_line "b.ds" '"tree/deeper/b.ds",8,1,100,1200,2,0,' "$(cat list.csv)"
grep -q '^"tree/deeper/broken.ds",,,,,,,".' list.csv || fail "a broken dataset has its line: $(cat list.csv)"
expect "lines" 4 "$(wc -l < list.csv)"
