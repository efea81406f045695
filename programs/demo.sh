#!/bin/sh
# Shows a message on its way: from a host application through the library to the client's files.
#   demo.sh BIN [COMMAND]
# BIN is the folder of the built programs; COMMAND starts a Windows program (wine) where they are
# such. Everything happens in a temporary folder that is removed at the end.
set -eu
export LC_ALL=C.UTF-8
bin=$(cd "$1" && pwd)
wine=${2-}
work=$(mktemp -d "${TMPDIR:-/tmp}/qv-demo-XXXXXX")
client_pid=

clean_up() {
  [ -z "$client_pid" ] || kill "$client_pid" 2>/dev/null || true
  rm -rf "$work"
}
trap clean_up EXIT
trap 'exit 1' INT TERM

if [ -n "$wine" ]; then
  suffix=.exe folder="Z:$work/mail"
  staging=$(echo "$WINEPREFIX"/drive_c/users/*/Temp)/Quorvantis
else
  suffix= folder=$work/mail
  export QVSMAPI_HOME="$work/state"
  staging=$QVSMAPI_HOME/drive_c/Temp/Quorvantis
fi

step() { printf '\n--- %s\n' "$*"; }

# Shows a command as one would type it, then runs it.
show_and_run() {
  program=$1
  shift
  printf '$ %s' "$program"
  for word in "$@"; do
    case $word in
      *[!A-Za-z0-9._@=/:-]*) printf " '%s'" "$word" ;;
      *) printf ' %s' "$word" ;;
    esac
  done
  echo
  $wine "$bin/$program$suffix" "$@"
}

cd "$work"
printf 'Minutes of the meeting in Zürich.\n' >minutes.txt
printf 'Name;Größe\nJörg;1,85\n' >'Größen für März.csv'
head -c 20000000 /dev/urandom >photo.jpg

step "1. The client waits for messages (in the background)"
echo "\$ qvclient --folder mail --count 1 --show-request &"
$wine "$bin/qvclient$suffix" --folder "$folder" --count 1 --show-request >client.out 2>client.err &
client_pid=$!
until grep -q '^ready' client.out; do
  kill -0 "$client_pid" 2>/dev/null || { cat client.err >&2; exit 1; }
  sleep 0.05
done
echo "ready"

step "2. An application sends a message with three attachments, one of 20 MB"
show_and_run qvsend --to ann@example.com --to 'Jörg Müller <joerg@example.com>' \
  --cc carol@example.com --bcc dave@example.com --subject 'Grüße aus Zürich & Genève' \
  --body 'Liebe Ann,
die Größen stehen in der Tabelle, 100% geprüft.' \
  --attach minutes.txt --attach 'Größen für März.csv' --attach photo.jpg=Zürich.jpg
wait "$client_pid" || { cat client.err >&2; exit 1; }
client_pid=

step "3. The request that the library handed to the client (UTF-8, with its own escapes)"
grep '^mailto:' client.out

step "4. What the client says"
grep -v '^mailto:' client.out

step "5. The message file: its headers, and those of its parts"
ls -l mail/0001.eml | awk '{ print "mail/0001.eml, " $5 " bytes" }'
LC_ALL=C awk '{ sub(/\r$/, "") } /^[A-Za-z0-9+\/=]+$/ { skipped++; next } { print "  | " $0 }
  END { print "(and " skipped " lines of Base64)" }' mail/0001.eml

step "6. The copies that the library made for the client are gone"
if [ -z "$(ls "$staging" 2>/dev/null)" ]; then
  echo "The staging folder \"Quorvantis\" is empty."
else
  ls -l "$staging"
  exit 1
fi
