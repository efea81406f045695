#!/bin/sh
# The programs as a user starts them: every scenario in a folder of its own below WORK, messages in
# its "mail", what they should hold in "NUMBER.expected".
#   scenarios.sh BIN WORK
# With QV_WINE set the programs are Windows ones, started with it.
# Nothing waits for a time: a client is waited for until it says "ready", a message until it is
# there. A program that hangs is ended after $limit seconds, so that its scenario fails by name.
set -u
export LC_ALL=C.UTF-8
bin=$1 work=$2 limit=120
docs=$(realpath "$(dirname "$0")/../../docs")
manuals="$docs/text-tools.md $docs/character-sets.md $docs/time-zones.md $docs/resource-files.md
  $docs/menus.md"

if [ -n "${QV_WINE-}" ]; then
  suffix=.exe drive=Z: wine=$QV_WINE
  temp=$(echo "$WINEPREFIX"/drive_c/users/*/Temp)
  client_program="Z:$(echo "$bin/qvclient.exe" | tr / '\\')"
else
  suffix='' drive='' wine=''
  # Deeper than the address of a socket may be long.
  export QVSMAPI_HOME="$work/$(printf '%0100d' 0)/state"
  temp=$QVSMAPI_HOME/drive_c/Temp
  client_program=$bin/qvclient
fi
staging=$temp/Quorvantis

# --- what scenarios are written with ---

send() { timeout "$limit" $wine "$bin/qvsend$suffix" "$@"; }
client() { timeout "$limit" $wine "$bin/qvclient$suffix" "$@"; }
tool() { timeout "$limit" $wine "$bin/qvtool$suffix" "$@"; }
raw_request() { timeout "$limit" $wine "$bin/raw_request$suffix" "$drive$PWD/$1"; }

# Starts a client that ends after so many requests; "client.out" and "client.err" hold its lines.
start_client() {
  count=$1
  shift
  # No shell around it: it is signalled later, through the timeout command.
  (exec timeout --foreground "$limit" $wine "$bin/qvclient$suffix" --folder "${drive}mail" \
    --count "$count" "$@") \
    >client.out 2>client.err &
  client_pid=$!
  until grep -q '^ready' client.out; do
    kill -0 $client_pid 2>/dev/null || { echo "the client did not start"; return 1; }
    sleep 0.02
  done
}

# A limit for what never comes, not a time that anything takes.
await_that() {
  tries=0
  until "$@"; do
    tries=$((tries + 1))
    [ $tries -lt 3000 ] || fail "in vain: $*" || return 1
    sleep 0.02
  done
}

# The client's exit code.
await_client() {
  wait "$client_pid"
  code=$?
  client_pid=
  return $code
}

fail() {
  echo "$*"
  return 1
}

# expect FILE TEXT: some line of the file holds the text.
expect() {
  grep -qF -- "$2" "$1" && return 0
  echo "$1 lacks: $2"
  sed 's/^/  | /' "$1"
  return 1
}

staged() { ls "$staging" 2>/dev/null; }

expect_staged() {
  [ "$(staged | tr '\n' ' ')" = "$1" ] || fail "the staging folder holds: $(staged)"
}

# Text that the client must find in one line of its standard error, and exit with code 1.
expect_damage() {
  await_client && fail "the client saw nothing wrong"
  expect client.err "$1"
}

# --- scenarios ---

scenario_mapi_sends_everything() {
  printf 'line 1\nline 2\n' >notes.txt
  head -c 20000000 /dev/urandom >big.bin
  printf '\000\001\377\r\n' >'Grün & Blau.dat'
  printf 'Hallo Jörg,\r\nGrüße & Küsse: 100%% "heiß".\r\n' >body
  cat >0001.expected <<'END'
subject=Grüße & Küsse; "100%" <heiß>
to=ann@example.com
to=Bob Ünal <bob@example.com>
cc=carol
bcc=dave@example.com
body=body
attachment=notes.txt=notes.txt
attachment=big.bin=big.bin
attachment=Grün & Blau.dat=Grün & Blau.dat
END
  start_client 1 --show-request || return 1
  send --to ann@example.com --to 'SMTP:Bob Ünal <bob@example.com>' --cc carol \
    --bcc dave@example.com --subject 'Grüße & Küsse; "100%" <heiß>' --body-file - \
    --attach notes.txt --attach big.bin --attach 'Grün & Blau.dat' <body >sent || return 1
  expect sent "sent: 4 recipients, 3 attachments" || return 1
  await_client || return 1
  expect client.out "0001.eml: 4 recipients, 3 attachments, 3 copies deleted" || return 1
  expect client.out "&subject=Grüße%20&%20Küsse%3B%20%22100%25%22%20%3Cheiß%3E&to=" || return 1
  expect_staged ""
}

scenario_cmc_sends_the_first_attachment() {
  printf 'one' >one.txt
  printf 'two' >two.txt
  printf 'See below.\r\n' >body
  cat >0001.expected <<'END'
subject=[a, b]
to=ann@example.com
cc=carol@example.com
body=body
attachment=first.txt=one.txt
END
  start_client 1 || return 1
  send --via cmc --to ann@example.com --cc carol@example.com --subject '[a, b]' \
    --body-file body --attach one.txt=first.txt --attach two.txt >sent 2>warned || return 1
  expect sent "sent: 2 recipients, 1 attachment" || return 1
  expect warned "qvsend: warning: by CMC only the first attachment is sent" || return 1
  await_client && expect_staged ""
}

scenario_texts_that_look_like_pieces() {
  printf 'mine' >a.txt
  printf 'b' >'x&subject=y&to=z.txt'
  printf 'B&body=b&to=evil@example.com&attach=%s&\r\n' 'C:\Windows\win.ini' >body
  mkdir -p "$staging"
  printf 'of another message' >"$staging/innocent.txt"
  # The subject ends at the first "&to=", as the receiver must read it.
  cat >0001.expected <<'END'
subject=S&attach=innocent.txt&deletefile=1&subject=T
to=ann@example.com
body=body
attachment=a.txt=a.txt
attachment=x&subject=y&to=z.txt=x&subject=y&to=z.txt
END
  sed -i 's/^attachment=x.*/attachment=x\&subject=y\&to=z.txt=odd/' 0001.expected
  cp 'x&subject=y&to=z.txt' odd
  start_client 1 || return 1
  send --to ann@example.com --subject 'S&attach=innocent.txt&deletefile=1&subject=T' \
    --body-file body --attach a.txt --attach 'x&subject=y&to=z.txt' >sent || return 1
  await_client || return 1
  expect_staged "innocent.txt " || return 1
  rm "$staging/innocent.txt"
}

scenario_names_of_attachments() {
  mkdir one two
  printf '1' >one/same.txt
  printf '2' >two/Same.txt
  printf '3' >three
  # Only where such a name can be.
  foreign=three
  [ -n "$wine" ] || foreign='Re: three?'
  printf '3' >"$foreign"
  : >body
  cat >0001.expected <<'END'
subject=
to=ann
body=body
attachment=same.txt=one/same.txt
attachment=Same (2).txt=two/Same.txt
attachment=Ein sehr langer Name, länger als eine Zeile der Nachricht, mit Umlauten äöüß.txt=three
attachment=a_b.txt=three
END
  start_client 1 || return 1
  send --to ann --attach one/same.txt --attach two/Same.txt \
    --attach 'three=Ein sehr langer Name, länger als eine Zeile der Nachricht, mit Umlauten äöüß.txt' \
    --attach "$foreign=a?b.txt" >sent || return 1
  await_client && expect_staged ""
}

scenario_what_the_code_page_lacks() {
  printf 'x' >'Łódź.txt'
  printf '? and a\r\n' >body
  cat >0001.expected <<'END'
subject=?ód?
to=ann
body=body
attachment=_ód_.txt=Łódź.txt
END
  start_client 1 || return 1
  send --to ann --subject 'Łódź' --body "$(printf 'Ł and a\n')
" --attach 'Łódź.txt' >sent 2>warned || return 1
  expect warned 'qvsend: warning: the system'"'"'s code page 1252 has no "Ł"' || return 1
  await_client && expect_staged "" || return 1
  [ -z "$(ls "$temp" | grep '^qvsend-')" ] || fail "a copy was left in the temporary folder"
}

# Japanese text, with characters whose second byte is a backslash, a bar or a tilde, and half-width ones.
# The code page of Windows programs is that of the Wine prefix, so only the stand-in can change it.
scenario_a_japanese_system() {
  [ -z "$wine" ] || return 0
  export QVSMAPI_HOME="$PWD/state"
  staging=$QVSMAPI_HOME/drive_c/Temp/Quorvantis
  mkdir -p "$QVSMAPI_HOME"
  cat >"$QVSMAPI_HOME/registry.txt" <<'END'
[HKEY_LOCAL_MACHINE\System\CurrentControlSet\Control\Nls\CodePage]
"ACP"=1:"932%00"
END
  printf 'x' >'表示ソ.txt'
  printf 'こんにちは、世界。ポスト ｱｲｳ\r\n①㈱ ～ 100%%\r\n' >body
  cat >0001.expected <<'END'
subject=表示 ソース & 予定、ﾃｽﾄ 100%
to=アン・ソ <ann@example.com>
cc=bob@example.com
body=body
attachment=表示ソ.txt=表示ソ.txt
attachment=添付能ポ.txt=表示ソ.txt
END
  start_client 1 || return 1
  send --to 'アン・ソ <ann@example.com>' --cc bob@example.com \
    --subject '表示 ソース & 予定、ﾃｽﾄ 100%' --body-file body --attach '表示ソ.txt' \
    --attach '表示ソ.txt=添付能ポ.txt' >sent 2>warned || return 1
  [ ! -s warned ] || fail "$(cat warned)" || return 1
  await_client && expect_staged ""
}

scenario_texts_longer_than_a_request() {
  printf 'x' >a.txt
  letters=$(printf '%0300d' 0)
  printf '%05000d' 0 >body
  printf '%05100d' 0 >long
  { echo "subject=$(printf '%0256d' 0)"; echo to=ann; echo body=body; echo attachment=a.txt=a.txt; } \
    >0001.expected
  start_client 1 || return 1
  send --to ann --subject "$letters" --body-file long --attach a.txt >sent 2>warned || return 1
  expect warned "the subject is too long and will be cut" || return 1
  expect warned "the body is too long and will be cut" || return 1
  await_client
}

# From here on a client takes several raw requests, such as only an enemy sends.
scenario_requests_of_an_enemy() {
  mkdir -p "$staging"
  path="C%3A\\Temp\\Quorvantis"
  [ -z "$wine" ] || path=$(basename "$(dirname "$temp")") && path="C%3A\\users\\$path\\Temp\\Quorvantis"
  [ -n "$wine" ] || path="C%3A\\Temp\\Quorvantis"
  printf 'copy' >"$staging/copy.txt"
  printf 'precious' >"$temp/precious.txt"
  good="mailto:?deletefile=1&attach=$path\\copy.txt"
  start_client 6 || return 1
  printf '%s&subject=half%%2' "$good" >raw
  raw_request raw || return 1
  printf '%s&subject=\377&to=a%%0D%%0ABcc%%3A%%20evil&' "$good" >raw
  raw_request raw || return 1
  printf '%s&deletefile=1&attach=%s\\..\\precious.txt&' "$good" "$path" >raw
  raw_request raw || return 1
  printf 'mailto:?deletefile=1&attach=%s\\gone.txt&' "$path" >raw
  raw_request raw || return 1
  printf 'GET / HTTP/1.1' >raw
  raw_request raw || return 1
  head -c 100000 /dev/zero | tr '\000' '&' >raw
  raw_request raw || return 1
  expect_damage "a broken escape in the subject" || return 1
  for text in "cut off at its end" "the subject is not UTF-8" "not a copy in the staging folder" \
    "no such copy" "does not begin with" "longer than the mail library writes"; do
    expect client.err "$text" || return 1
  done
  [ "$(ls mail | tr '\n' ' ')" = "0001.eml 0002.eml 0003.eml 0004.eml " ] || fail "$(ls mail)" ||
    return 1
  expect_staged "copy.txt " || return 1
  [ "$(cat "$temp/precious.txt")" = precious ] || fail "a file outside was touched" || return 1
  rm "$staging/copy.txt" "$temp/precious.txt"
  printf 'copy' >copy
  printf 'subject=half%%2\nbody=empty\nattachment=copy.txt=copy\n' >0001.expected
  : >empty
  printf 'subject=\357\277\275\nto="a  Bcc: evil"\nbody=empty\nattachment=copy.txt=copy\n' \
    >0002.expected
}

scenario_the_library_starts_the_client() {
  printf 'x' >a.txt
  printf 'b\r\n' >body
  printf 'subject=launched\nto=ann\nbody=body\nattachment=a.txt=a.txt\n' >0001.expected
  client --register --folder "${drive}mäil" --count 2 >registered || return 1
  expect registered "registered: $client_program" || return 1
  # Through a pipe: its end must not wait for the client's. Wine hands the pipe down to the client,
  # unlike the system.
  if [ -n "$wine" ]; then
    send --to ann --subject launched --body-file body --attach a.txt >sent || return 1
  else
    send --to ann --subject launched --body-file body --attach a.txt | cat >sent
  fi
  expect sent "sent: 1 recipient, 1 attachment" || return 1
  client --unregister >unregistered || return 1
  expect unregistered "no longer registered: $client_program" || return 1
  # The first message still has the client running; the second ends it.
  send --to ann --attach a.txt >sent || return 1
  await_that [ -f mäil/0002.eml ] && await_that expect_staged "" || return 1
  mv mäil mail
}

# Several users of the library at once, each with a file of the same name.
scenario_senders_at_the_same_time() {
  start_client 6 || return 1
  senders=
  for i in 1 2 3 4 5 6; do
    mkdir $i
    echo "of $i" >$i/same.txt
    send --to ann --subject "from $i" --attach $i/same.txt --attach $i/same.txt=2 >$i/sent &
    senders="$senders $!"
  done
  for sender in $senders; do
    wait "$sender" || fail "a sender failed" || return 1
  done
  await_client || return 1
  for i in 1 2 3 4 5 6; do
    file=$(grep -l "^Subject: from $i" mail/*) || fail "no message of $i" || return 1
    [ "$(grep -c "^$(base64 $i/same.txt)" "$file")" = 2 ] || fail "not the files of $i" || return 1
  done
  expect_staged ""
}

scenario_a_client_that_acknowledges_late() {
  printf 'x' >a.txt
  start_client 1 --acknowledge-after 1500 --quiet || return 1
  send --to ann --subject late --attach a.txt >sent || return 1
  await_client || return 1
  [ "$(cat client.out)" = ready ] || fail "not quiet" || return 1
  [ -f mail/0001.eml ] && expect_staged ""
}

scenario_copies_that_are_kept() {
  printf 'x' >a.txt
  start_client 1 --keep-copies || return 1
  send --to ann --attach a.txt >sent && await_client || return 1
  expect_staged "a.txt " || return 1
  rm "$staging/a.txt"
}

scenario_a_folder_that_cannot_be_written() {
  printf 'x' >a.txt
  start_client 1 || return 1
  rmdir mail
  send --to ann --attach a.txt >sent || return 1
  expect_damage "the message could not be stored" || return 1
  expect_staged "a.txt " || return 1
  rm "$staging/a.txt"
}

# fails CODE TEXT ARGUMENT...: qvsend ends with the code and one line that holds the text.
fails() {
  code=$1 text=$2
  shift 2
  send "$@" >sent 2>complaint
  [ $? = "$code" ] || fail "exit code is not $code: $*" || return 1
  [ ! -s sent ] && [ "$(wc -l <complaint)" -eq 1 ] || fail "not one line" || return 1
  expect complaint "qvsend: " && expect complaint "$text"
}

scenario_failures_say_what_to_do() {
  printf 'x' >a.txt
  printf '\377' >latin
  mkdir folder
  fails 1 "no client took the message and none is registered: start qvclient" --to ann --attach a.txt &&
    fails 1 "no attachment: the library delivers only messages with at least one" --to ann &&
    fails 1 "cannot read the attachment gone.txt: there is no such file" --to ann --attach gone.txt &&
    fails 1 "cannot read the attachment folder: " --to ann --attach folder &&
    fails 1 "cannot read the body from gone: there is no such file" --body-file gone --attach a.txt &&
    fails 1 "the body in latin is no UTF-8 text" --body-file latin --attach a.txt &&
    fails 1 "cannot read the body from : the name is not valid" --body-file '' --attach a.txt &&
    fails 1 "cannot load the library" --library gone.dll --to ann --attach a.txt &&
    fails 1 "send to fewer recipients" --to "$(printf '%0256d' 0)" --attach a.txt &&
    fails 2 "--via" --via pigeon --attach a.txt &&
    fails 2 "see --help" --nonsense &&
    fails 2 "--body" --body a --body-file a.txt --attach a.txt || return 1
  rm -rf "$staging"
  : >"$staging"
  fails 1 "cannot copy a.txt into " --to ann --attach a.txt || return 1
  rm "$staging"
  client --register --folder "${drive}mail" >registered || return 1
  # Another program in the client's place: it does not serve.
  client --count nonsense 2>complaint
  [ $? = 2 ] || fail "exit code is not 2" || return 1
  expect complaint "qvclient: " || return 1
  client --folder a.txt/mail 2>complaint && fail "stores below a file" && return 1
  expect complaint "cannot store messages in " || return 1
  client --unregister >unregistered && client --unregister >unregistered || return 1
  expect unregistered "nothing was registered"
}

scenario_help_and_version() {
  for program in qvsend qvclient qvtool; do
    $wine "$bin/$program$suffix" --help >help 2>&1 || return 1
    expect help "Example:" || return 1
    $wine "$bin/$program$suffix" --version >version 2>&1 || return 1
    expect version "$program 1." || return 1
  done
}

scenario_the_default_client() {
  client --make-default >made || return 1
  expect made "Quorvantis is now the default mail client"
  result=$?
  [ -z "$wine" ] || $wine reg delete 'HKCU\Software\Clients\Mail' /f >deleted 2>&1
  return $result
}

# An interrupt is Ctrl-C on both platforms.
scenario_a_client_that_is_stopped() {
  printf 'x' >a.txt
  start_client 2 || return 1
  send --to ann --attach a.txt >sent || return 1
  kill -INT $client_pid
  await_client || return 1
  [ -f mail/0001.eml ] && expect_staged ""
}

# tool_fails CODE TEXT ARGUMENT...: qvtool ends with the code and one line that holds the text.
tool_fails() {
  code=$1 text=$2
  shift 2
  tool "$@" >out 2>complaint
  [ $? = "$code" ] || fail "exit code is not $code: $*" || return 1
  [ "$(wc -l <complaint)" -eq 1 ] || fail "not one line" || return 1
  expect complaint "qvtool: " && expect complaint "$text"
}

scenario_tool_converts_in_a_pipe() {
  seq 1 9999 | while read -r line; do
    echo "吾輩は猫である。名前はまだ無い。「ソ」と表と①とｱ行$line"
  done >utf8
  # Both ways beside another program, and through the forms of one character set.
  iconv -f UTF-8 -t CP932 utf8 >sjis
  tool convert --from UTF-8 --to shift_jis <utf8 >ours && cmp ours sjis || return 1
  tool convert --from 932 --to UTF-8 <sjis >ours && cmp ours utf8 || return 1
  iconv -f UTF-8 -t UTF-16LE utf8 >wide
  tool convert --from UTF-16LE --to EUC-JP <wide | tool convert --from 20001 --to ISO-2022-JP |
    tool convert --from 20002 --to 932 >ours && cmp ours sjis || return 1
  tool convert --from 932 --to utf-8 --line-ends crlf <sjis | tr -d '\r' >ours && cmp ours utf8
}

scenario_tool_encodes_and_names() {
  head -c 500000 /dev/urandom >bytes
  base64 -w 64 bytes | head -c -1 >theirs
  tool base64 --separator lf <bytes >ours && cmp ours theirs || return 1
  tool base64 <bytes | tr -d '\r' >ours && cmp ours theirs || return 1
  tr -d '\n' <theirs >one_line
  tool base64 --separator none <bytes >ours && cmp ours one_line || return 1
  tool charset Windows-1252 >names && tool charset 28595 >>names && tool charset 437 >>names || return 1
  printf '%s\t%s\t%s\t%s\n' 1252 ISO-8859-1 CP1252 .1252 \
    28595 ISO-8859-5 CP1252 russian.ISO8859-5 437 '' CP1252 english >expected
  cmp names expected
}

scenario_tool_sums_beside_others() {
  head -c 300001 /dev/urandom >bytes
  gzip -c bytes | tail -c 8 | head -c 4 | od -An -tx4 --endian=little | tr -d ' ' >theirs
  tool checksum crc32 <bytes >ours && cmp ours theirs || return 1
  for sum in sha1 md5; do
    ${sum}sum <bytes | cut -d ' ' -f 1 >theirs
    tool checksum $sum <bytes >ours && cmp ours theirs || return 1
  done
  # Published: RFC 2202 and the catalogue of CRCs.
  printf 'what do ya want for nothing?' | tool checksum md5 --hmac 4A656665 >ours || return 1
  printf 123456789 | tool checksum crc32 >>ours && printf 123456789 | tool checksum crc16 >>ours &&
    printf abc | tool checksum md4 >>ours && printf abc | tool checksum md2 >>ours || return 1
  printf '%s\n' 750c783e6ab0b503eaa86e310a5db738 cbf43926 c331 \
    a448017aaf21d8525fc10ae87aa6729d da853b0d3f88d99b30283a69e6ded6bb >theirs
  cmp ours theirs
}

scenario_tool_finds_links() {
  cat >text <<'END'
Write to "Ann Lee" <ann@example.com> & see http://www.example.com/a?b=1&c="d" (or www.example.org).
mailto:bob@example.org, 表www.example.net/x 1<2, javascript://example.com/%0aalert(1)
END
  seq 1 20000 | sed 's/.*/line & of www.host&.example.com/' >>text
  tool links <text >finds && [ "$(wc -l <finds)" = 20006 ] || fail "$(head finds)" || return 1
  # A find is what stands at its place.
  sed -n '1,6p;$p' finds | while IFS='	' read -r kind position length found; do
    [ "$(tail -c +$((position + 1)) text | head -c "$length")" = "$found" ] ||
      fail "no $found at $position" || return 1
  done || return 1
  tool links --markup <text >page || return 1
  expect page '<a href="mailto:ann@example.com">ann@example.com</a>' &&
    expect page '<a href="http://www.example.org">www.example.org</a>).' &&
    expect page 'href="http://www.example.com/a?b=1&amp;c=' || return 1
  grep -q 'href="javascript' page && fail "a script became a link" && return 1
  # Without its links the page is the text.
  sed 's/<a href="[^"]*">//g;s/<\/a>//g;s/&lt;/</g;s/&gt;/>/g;s/&quot;/"/g;s/&amp;/\&/g' page | cmp - text
}

scenario_tool_reads_lines() {
  printf '"Ann Lee" <ann@example.com>\r\nno one@\n\nbob@example.org (Bob)' >lines
  tool address <lines >ours || return 1
  printf '1\tann@example.com\tAnn Lee\n0\n0\n1\tbob@example.org\t(Bob)\n' | cmp - ours || return 1
  printf 'Gr\374\337e #1\r\na~b/c\nx\ry' >latin
  tool url escape --code-page 1252 --set 2 <latin >ours || return 1
  printf 'Gr%%C3%%BC%%C3%%9Fe%%20%%231\r\na~b%%2Fc\nx%%0Dy' | cmp - ours || return 1
  tool url unescape --code-page 1252 --decode-slashes <ours | sed 's/\\r/\r/' | cmp - latin || return 1
  seq 1 300000 | tr '\n' ' ' >long
  tool url escape <long | sed 's/%20/ /g' | cmp - long || return 1
  tool_fails 1 "line 1 has more than 1048576 bytes" url unescape <long
}

scenario_tool_writes_numbers() {
  while read -r expected arguments; do
    tool number $arguments >ours && [ "$(tr ' ' _ <ours)" = "$expected" ] ||
      fail "$arguments: $(cat ours)" || return 1
  done <<'END'
1.5M count 1500000
1.5G count 1500000 --thousands
18,446,744,073,709,551,615 grouped 18446744073709551615
2.50M scaled 2500000 --style 3
2.441K scaled 2500 --base 1024
1_day_2_hours_3_minutes_4_seconds duration 93784 --style 1
1563_mins_4_secs duration 93784 --fields 24
02:03:04 duration 93784 --style 3
-12 parse -12
31 parse 0x1F --base 0
4147 parse BAz --base 64
END
  tool_fails 2 "not a whole number from 0 to 4294967295" number duration 4294967296 &&
    tool_fails 2 "not a whole number" number grouped -5 &&
    tool_fails 1 "give a number up to 10^19" number scaled 1e30 &&
    tool_fails 0 'read up to "x"' number parse 12x &&
    tool_fails 2 "unknown checksum" checksum crc:65 &&
    tool_fails 2 "goes with sha1" checksum crc16 --hmac 00
}

# Every session of the manuals, its commands and what they print.
scenario_tool_does_what_the_manuals_show() {
  copy_application || return 1
  grep -h '^    ' $manuals | sed 's/^    //' >sessions
  grep '^\$ ' sessions | sed 's/^\$ //;s/qvtool/tool/' >commands
  [ "$(wc -l <commands)" -gt 15 ] || fail "no sessions" || return 1
  while read -r command; do
    printf '$ %s\n' "$command" | sed 's/tool/qvtool/'
    eval "$command"
  done <commands >shown
  diff sessions shown
}

scenario_tool_reads_times() {
  while IFS='=' read -r arguments expected; do
    eval "tool clock $arguments" >ours && [ "$(tr '\t' ' ' <ours)" = "$expected" ] ||
      fail "$arguments: $(cat ours)" || return 1
  done <<'END'
9:30p=21 30 9:30 PM
12:05a=0 5 12:05 AM
13:15=13 15 1:15 PM
8=8 0 8:00 AM
--threshold 9 8=20 0 8:00 PM
--24-hour 0:00=0 0 0:00
--24-hour '9.45 pm'=21 45 21:45
END
  for text in 0:00 '13:15 AM' 24:00 9:60 '' noon; do
    tool_fails 1 "no clock time: \"$text\"" clock "$text" || return 1
  done
  tool_fails 2 "--threshold" clock --threshold 13 8
}

scenario_tool_knows_time_zones() {
  tool zone list >list || return 1
  [ "$(wc -l <list)" = 71 ] && [ "$(cut -f 1 list | sort -u | wc -l)" = 71 ] || fail "not 71" || return 1
  grep -q "$(printf '^27525376\t(GMT) UTC, Casablanca, Monrovia$')" list || fail "no UTC" || return 1
  # Beside the machine's own database: noon of a day in each month, in five zones. Without one
  # "date" would say UTC for all of them.
  [ -e /usr/share/zoneinfo/Pacific/Chatham ] || fail "there is no time-zone database" || return 1
  while read -r id zone; do
    for month in 01 02 03 04 05 06 07 08 09 10 11 12; do
      seconds=$(date -u -d "2024-$month-15 12:00" +%s)
      echo "$id $((seconds + 2082844800)) universal" >>asked
      TZ=$zone date -d "@$seconds" +%:::z | sed 's/^\([+-]\)0*\([0-9]*\):*0*\([0-9]*\)$/\1 \2 \3/' |
        while read -r sign hours minutes; do
          echo "$sign$((${hours:-0} * 3600 + ${minutes:-0} * 60))"
        done | sed 's/^+//;s/^-0$/0/' >>expected
    done
  done <<'END'
32769028 Europe/Paris
15729388 America/New_York
20972274 America/St_Johns
76023592 Australia/Sydney
87821875 Pacific/Chatham
END
  tool zone offset <asked | cut -d ' ' -f 1 | cmp - expected || return 1
  # There and back, over lines with blanks and CR LF.
  seq 2900000000 10000019 4200000000 >times
  sed 's/$/ 68157732 181272576/' times | tool zone convert >universal || return 1
  sed 's/$/\t 181272576  68157732\r/' universal | tool zone convert | cmp - times || return 1
  echo 2900000000 68157732 | tool zone iso | grep -qx 1995-11-23T10:33:20Z || fail "no ISO form" ||
    return 1
  printf '5 5 local\n181272812 5 universal\n' | tool zone offset >ours
  printf -- '-\n-18000 -18000 0\n' | cmp - ours || return 1
  tool zone parse <"$docs/../data/tz/rules.txt" | grep -qx 'rules 741 zones 447' || fail "not all rules" ||
    return 1
  echo '5 5 locally' >wrong
  tool_fails 1 'line 1 is not "ID TIME universal|local"' zone offset <wrong &&
    tool_fails 1 'line 1 is not "TIME ID"' zone iso <wrong &&
    tool_fails 1 'line 1 is not "TIME FROM-ID TO-ID"' zone convert <wrong || return 1
  echo 'Rule X 1990 only odd Apr 1 2:00 0 -' >wrong
  tool_fails 1 "Rule.Type is too complex to process." zone parse <wrong &&
    tool_fails 2 "see --help" zone nonsense
}

scenario_tool_keeps_resource_files() {
  head -c 100000 /dev/urandom >body
  tool rez create a.rez && [ "$(wc -c <a.rez)" = 286 ] || fail "not an empty file" || return 1
  tool rez add a.rez TEXT 128 --name größe <body && printf abc | tool rez add a.rez STR -7 &&
    tool rez add a.rez TEXT 3 </dev/null && tool rez add a.rez 0x00ff0901 5 <body || return 1
  tool rez list a.rez >ours || return 1
  printf '%s\t%s\t%s\t0\t%s\n' TEXT 128 100000 größe TEXT 3 0 '' 'STR ' -7 3 '' \
    0x00ff0901 5 100000 '' | cmp - ours || return 1
  tool rez get a.rez TEXT 128 | cmp - body && tool rez check a.rez || return 1
  # Replaced, with and without a new name; what others see of the file is its size.
  printf 'longer than abc' | tool rez add a.rez 'STR ' -7 && tool rez add a.rez TEXT 128 <a.rez &&
    tool rez rename a.rez TEXT 3 "two words" && tool rez remove a.rez 0x00ff0901 5 || return 1
  tool rez get a.rez STR -7 | grep -qx 'longer than abc' || fail "not replaced" || return 1
  tool rez get a.rez TEXT 128 >nested && tool rez list nested | cut -f 1-3 | head -n 3 >ours || return 1
  printf 'TEXT\t128\t100000\nTEXT\t3\t0\nSTR \t-7\t15\n' | cmp - ours || return 1
  [ "$(wc -c <a.rez)" = $((256 + 4 + $(wc -c <nested) + 4 + 4 + 15 + 30 + 16 + 36 + 8 + 10)) ] ||
    fail "$(wc -c <a.rez) bytes" || return 1
  tool rez rename a.rez TEXT 128 && tool rez list a.rez | head -n 1 | cut -f 5 | grep -qx '' ||
    fail "it still has a name" || return 1
  head -c 300 a.rez >cut.rez
  tool_fails 1 "error 4702, no resource file, or a damaged one" rez check cut.rez &&
    tool_fails 1 "error 4105" rez list none.rez && tool_fails 1 "error 4106" rez create a.rez &&
    tool_fails 1 "error 4705" rez get a.rez TEXT 1 && tool_fails 1 "error 4705" rez remove a.rez TEXT 1 &&
    tool_fails 1 "no such name" rez rename a.rez TEXT 3 "$(printf '%0256d' 0)" &&
    tool_fails 2 "NUMBER" rez get a.rez TEXT 32768 && tool_fails 2 "four characters" rez get a.rez TEXTS 1
}

# What the application beside this folder's resource files says.
application() { timeout "$limit" $wine "./resource_application$suffix" "$@" | tr -d '\r'; }

# It looks for its files where it lies itself.
copy_application() {
  cp "$bin/resource_application$suffix" . && { [ -n "$wine" ] || cp "$bin/libqvsmapi_host.so" .; }
}

# A list of one or more strings, as "STR#" holds it.
string_list() {
  byte 0 && byte $#
  for text in "$@"; do byte "$(printf %s "$text" | wc -c)" && printf %s "$text"; done
}
byte() { printf "\\$(printf '%03o' "$1")"; }

scenario_application_has_its_texts_from_files() {
  copy_application || return 1
  [ "$(application 128:1 999:1)" = "$(printf -- '-\nCtrl+')" ] || fail "texts from nowhere" || return 1
  for file in en a b; do
    tool rez create $file.rez && string_list "$file" "&File;$file" "Größe" >list &&
      tool rez add $file.rez 'STR#' 128 <list || return 1
  done
  string_list "^" >list && tool rez add en.rez 'STR#' 999 <list || return 1
  string_list "only in a" >list && tool rez add a.rez 'STR#' 129 <list || return 1
  printf '\006a text' | tool rez add en.rez 'STR ' 5 || return 1
  application 128:1 128:2 128:3 128:4 999:1 5 129:1 + 128:1 129:1 >ours
  printf '%s\n' en '&File;en' Größe - ^ 'a text' - b 'only in a' | cmp - ours || return 1
  # The country's file goes before the language's, its texts are in the code page that it names.
  tool rez create en-US.rez && printf '\004\344' | tool rez add en-US.rez ZRcs 0 || return 1
  string_list "US" "Gr$(printf '\366\337')e" >list && tool rez add en-US.rez 'STR#' 128 <list || return 1
  application 128:1 128:2 129:1 999:1 >ours
  printf '%s\n' US Größe - Ctrl+ | cmp - ours || return 1
  # A damaged file is as good as none.
  head -c 100 en-US.rez >cut && cp cut en-US.rez
  [ "$(application 128:1)" = en ] || fail "the damaged file is in the way"
}

scenario_application_has_its_menu_from_files() {
  copy_application || return 1
  [ -z "$(application menu)" ] || fail "a menu from nowhere" || return 1
  tool rez create en.rez && string_list 1S901 5S902 17 9x >list && tool rez add en.rez 'STR#' 900 <list &&
    string_list 2 3b - w4S903 mac >list && tool rez add en.rez 'STR#' 901 <list &&
    string_list 6 7 >list && tool rez add en.rez 'STR#' 902 <list &&
    string_list 8C00FF00 >list && tool rez add en.rez 'STR#' 903 <list &&
    string_list '2w0B4E"N"' '6m0043w0D70"F1"w0B43' '7w0955' '8w1' >list &&
    tool rez add en.rez 'STR#' 960 <list &&
    string_list File '&New' 'Op&en;field 1' Recent '$mBearbeiten$w&Edit' Copy Über a.txt >list &&
    tool rez add en.rez 'STR#' 800 <list && string_list Help >list && tool rez add en.rez 'STR#' 801 <list ||
    return 1
  application menu >ours
  printf '%s\n' 'Could not parse 4 hex digits 1' \
    'unrecognized Option in menu parser remainder skipped x char:x' 'Cannot get MenuItem Cmd=9' File '  &New	Ctrl+N = 2' '  Op&en = 3, greyed' \
    '  -' '  Recent' '    a.txt = 8' '&Edit' '  Copy	Ctrl+Shift+F1 = 6' '  Über	Ctrl+U = 7' 'Help = 17' '  = 9' \
    '0B 4E 2' '0D 70 6' '0B 43 6' '09 55 7' | diff - ours || return 1
  # The menu of the country, in the code page that its file names.
  tool rez create en-US.rez && printf '\004\344' | tool rez add en-US.rez ZRcs 0 &&
    string_list 1S901 >list && tool rez add en-US.rez 'STR#' 900 <list &&
    string_list 2 3 >list && tool rez add en-US.rez 'STR#' 901 <list &&
    string_list 2w0F4E >list && tool rez add en-US.rez 'STR#' 960 <list &&
    string_list Datei '&Neu' "$(printf '\326')ffnen" >list && tool rez add en-US.rez 'STR#' 800 <list &&
    string_list Strg+ Alt+ "$(printf 'Gro\337')+" >list && tool rez add en-US.rez 'STR#' 999 <list || return 1
  application menu >ours
  printf '%s\n' Datei '  &Neu	Strg+Groß+N = 2' '  Öffnen = 3, greyed' '0F 4E 2' | diff - ours
}

scenario_tool_says_what_fails() {
  printf 'a\303' >cut
  tool_fails 1 'unknown character set "latin1"' charset latin1 &&
    tool_fails 2 'unknown character set "latin1"' convert --from latin1 --to UTF-8 &&
    tool_fails 2 "--to is required" convert --from UTF-8 &&
    tool_fails 2 "no command; see --help" &&
    tool_fails 2 "see --help" nonsense &&
    tool_fails 1 "no table to convert 20009 (EUC-KR) to 65001 (UTF-8)" \
      convert --from EUC-KR --to UTF-8 <cut &&
    tool_fails 1 "ends inside a character: 1 byte left out" convert --from UTF-8 --to 1252 <cut ||
    return 1
  [ "$(cat out)" = a ] || fail "what could be converted is not there" || return 1
  printf '日本' | tool_fails 0 "warning: 2 characters malformed or without a place" \
    convert --from UTF-8 --to 1252 || return 1
  [ -z "$wine" ] || return 0
  # Streams that fail, as the shell gives them.
  for command in "charset 932" "base64" "convert --from 1252 --to UTF-8" "address" "checksum md5" \
    "links --markup" "number count 1" "url escape" "url unescape" "clock 9" "zone list"; do
    yes 2>/dev/null | head -c 300000 | tool $command >/dev/full 2>complaint
    [ $? = 1 ] || fail "$command: a full disk is no failure" || return 1
    expect complaint "qvtool: cannot write to standard output: the disk is full" || return 1
    tool $command <cut >&- 2>complaint
    [ $? = 1 ] || fail "$command: a closed output is no failure" || return 1
  done
  { yes 2>/dev/null | tool base64 2>complaint; echo $? >code; } | head -c 9 >/dev/null
  [ "$(cat code)" = 1 ] || fail "a broken pipe is no failure" || return 1
  expect complaint "nobody reads it any more" || return 1
  tool base64 <. >out 2>complaint && fail "a folder can be read"
  expect complaint "cannot read standard input: " || return 1
  tool base64 <&- >out 2>complaint && fail "a closed input can be read"
  expect complaint "cannot read standard input: "
}

# --- all of them, by their names in this file ---

client --unregister >"$work/first.log" 2>&1
for name in $(sed -n 's/^scenario_\([a-z_]*\)() {/\1/p' "$0"); do
  [ -z "${QV_SCENARIO-}" ] || [ "$QV_SCENARIO" = "$name" ] || continue
  mkdir -p "$work/$name"
  [ ! -d "$staging" ] || rm -rf "$staging"
  if (
    client_pid=
    # A scenario that fails leaves no client to the next one.
    trap '[ -z "$client_pid" ] || kill "$client_pid" 2>/dev/null' EXIT
    cd "$work/$name" && "scenario_$name"
  ) >"$work/$name.log" 2>&1; then
    echo "ok   $name"
    echo "$name" >>"$work/passed"
  else
    echo "FAIL $name"
    sed 's/^/  /' "$work/$name.log"
    echo "$name" >>"$work/failed"
    # A client that the library started ends when it has had its requests.
    (cd "$work" && echo junk >junk && for _ in 1 2 3 4 5 6; do raw_request junk; done) >/dev/null 2>&1
  fi
done
