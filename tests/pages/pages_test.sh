#!/usr/bin/env bash
# The manual page and the completions hold what --help shows, and the programs that read them understand them.
#   pages_test.sh WRITE_PAGES CTFMEG
set -euo pipefail
export LC_ALL=C
write_pages=$1 ctfmeg=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "FAILED: $*" >&2; exit 1; }

"$write_pages" "$work"
man=$work/man/man1/ctfmeg.1 bash=$work/bash-completion/completions/ctfmeg zsh=$work/zsh/site-functions/_ctfmeg
if "$write_pages" "$man" 2>/dev/null; then fail "a folder in a file was written"; fi

commands=$("$ctfmeg" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
[ "$(wc -w <<<"$commands")" -ge 8 ] || fail "--help names too few commands: $commands"
for command in $commands; do
  grep -q "^\.SS $command\$" "$man" || fail "the manual page lacks $command"
  for option in $("$ctfmeg" "$command" --help | grep -o '^  \(-[a-z], \)\?--[a-z-]*' | tr -d ' ' | tr ',' '\n'); do
    sed -n "/^\.SS $command\$/,/^\.S[SH] /p" "$man" | tr -d '\\' | grep -qF "fB${option}fR" ||
      fail "the manual page lacks $option of $command"
    sed -n "/^    $command)/,/fi ;;/p" "$bash" | grep -q -- "[ ']$option[ ']" || fail "bash lacks $option of $command"
    sed -n "/^    $command)/,/;;/p" "$zsh" | grep -q -- "'$option[=\[]" || fail "zsh lacks $option of $command"
  done
done

if command -v man >/dev/null; then
  said=$(man --warnings -l "$man" 2>&1 >/dev/null) || true
  [ -z "$said" ] || fail "man: $said"
fi
if command -v zsh >/dev/null; then zsh -n "$zsh"; fi
# A colon ends a part of what zsh reads: those inside a part are escaped.
if grep -- "--samples=" "$zsh" | grep -q ':FIRST:LAST'; then fail "zsh reads FIRST:LAST as two parts"; fi

# What bash offers; the two functions replace those of the package bash-completion.
_init_completion() { words=("${COMP_WORDS[@]}") cword=$COMP_CWORD cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD - 1]}; }
_filedir() { COMPREPLY=("files$*"); }
# shellcheck disable=SC1090
source "$bash"
expect_offer() {
  local expected=$1
  shift
  COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMPREPLY=()
  _ctfmeg
  [ "${COMPREPLY[*]}" = "$expected" ] || fail "for '$*' bash offers '${COMPREPLY[*]}', not '$expected'"
}
expect_offer "channels check" ctfmeg ch
expect_offer "stats scan simulate" ctfmeg help s
expect_offer "float32 float64" ctfmeg export --dtype f
expect_offer "plain host" ctfmeg info --rules ""
expect_offer "--csv --channels" ctfmeg channels --c
expect_offer "files" ctfmeg info ""
expect_offer "files-d" ctfmeg scan ""
expect_offer "files-d" ctfmeg info --spill ""
expect_offer "" ctfmeg info --resample ""
