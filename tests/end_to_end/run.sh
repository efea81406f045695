#!/bin/sh
# Runs the scenarios and checks the message files that they leave.
#   run.sh BIN CHECK [WINE.SH]
# BIN holds the programs, CHECK is the message check; with WINE.SH the programs are Windows ones.
# QV_KEEP=1 leaves the work folder and says where it is.
set -eu
bin=$(realpath "$1") check=$(realpath "$2") wine=${3-}
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/qv-end-XXXXXX")
[ "${QV_KEEP-}" ] && echo "work folder: $work" || trap 'rm -rf "$work"' EXIT

if [ -n "$wine" ]; then
  "$wine" --shell "$here/scenarios.sh" "$bin" "$work" || exit 1
else
  sh "$here/scenarios.sh" "$bin" "$work" || exit 1
fi

# Each expected message, as "FOLDER/0001.expected" beside "FOLDER/mail/0001.eml".
checked=0
for expected in "$work"/*/*.expected; do
  folder=$(dirname "$expected")
  name=$(basename "$expected" .expected)
  if "$check" "$folder/mail/$name.eml" "$expected" 2>"$work/check.log"; then
    echo "ok   $(basename "$folder"): $name.eml reads back"
    echo "$name" >>"$work/passed"
  else
    echo "FAIL $(basename "$folder"): $name.eml"
    cat "$work/check.log"
    basename "$folder" >>"$work/failed"
  fi
  checked=$((checked + 1))
done
[ "$checked" -ge 8 ] || { echo "only $checked messages to check"; exit 1; }

# The count in the form of the other suites.
passed=$(wc -l <"$work/passed")
echo "[  PASSED  ] $passed tests."
[ ! -s "$work/failed" ] && exit 0
echo "[  FAILED  ] $(wc -l <"$work/failed") tests, listed below:"
sed 's/^/[  FAILED  ] /' "$work/failed"
exit 1
