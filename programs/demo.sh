#!/bin/sh
# Shows a message on its whole road: a host program, the mail library, a client, a mail file.
#   demo.sh BIN        the programs of a native build
# With QV_WINE set BIN holds Windows programs, which are started with it.
# Everything happens in a folder that is removed at the end.
set -eu
export LC_ALL=C.UTF-8
bin=$(cd "$1" && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/qv-demo-XXXXXX")
client=
finish() {
  [ -z "$client" ] || kill "$client" 2>/dev/null || true
  rm -rf "$work"
}
trap finish EXIT
trap 'exit 1' INT TERM

if [ -n "${QV_WINE-}" ]; then
  suffix=.exe drive=Z: wine=$QV_WINE library=QVSMAPI.dll
  staging() { echo "$WINEPREFIX"/drive_c/users/*/Temp/Quorvantis; }
else
  suffix='' drive='' wine='' library=libQVSMAPI.so
  export QVSMAPI_HOME="$work/state"
  staging() { echo "$QVSMAPI_HOME/drive_c/Temp/Quorvantis"; }
fi

step() { printf '\n== %s\n' "$*"; }
show() { sed 's/^/   /'; }

cd "$work"
step "Three attachments: a text, a picture's worth of bytes, and 20 MB"
printf 'Grüße aus Köln, 12 €\n' >'Grüße.txt'
head -c 3000 /dev/urandom >chart.bin
head -c 20971520 /dev/urandom >archive.bin
ls -l 'Grüße.txt' chart.bin archive.bin | awk '{ print $5, $NF }' | show

: >client.log
step "The client registers its DDE service and waits for one message"
$wine "$bin/qvclient$suffix" --folder "${drive}$work/mail" --count 1 --show-request \
  >client.log 2>client.err &
client=$!
until grep -q '^ready' client.log; do
  kill -0 "$client" 2>/dev/null || { cat client.err; echo "the client did not start"; exit 1; }
  sleep 0.05
done
echo "ready" | show

step "A host application sends through $library"
echo 'qvsend --to ann@example.com --cc "Zoë <zoe@example.com>" --bcc carol@example.com \
    --subject "Größe & Preis: 12 €" --body "Hallo Ann, ..." \
    --attach Grüße.txt --attach chart.bin --attach archive.bin' | show
$wine "$bin/qvsend$suffix" --to ann@example.com --cc 'Zoë <zoe@example.com>' \
  --bcc carol@example.com --subject 'Größe & Preis: 12 €' \
  --body "Hallo Ann,
die Zahlen hängen an: \"Größe\" & Preis.
Grüße, Jürgen" --attach 'Grüße.txt' --attach chart.bin --attach archive.bin | show

wait "$client" || { cat client.err; echo "the client failed"; exit 1; }
client=
step "The request that went over DDE, and what the client did with it"
grep -v '^ready' client.log | show

step "The mail file: its headers and how its parts begin"
tr -d '\r' <mail/0001.eml | awk 'length > 60 && !/ / { next } { print }' | head -60 | show
echo "$(wc -c <mail/0001.eml) bytes in mail/0001.eml" | show

step "The copies in the staging folder are gone"
for name in 'Grüße.txt' chart.bin archive.bin; do
  [ ! -e "$(staging)/$name" ] || { echo "$name is still there"; exit 1; }
  echo "no $name in Temp/Quorvantis" | show
done
