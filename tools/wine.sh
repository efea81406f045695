#!/bin/sh
# Runs 32-bit Windows programs without touching the machine's packages: through a Wine that is
# installed already, else through a private root of its own, made once below the user's cache.
#
#   tools/wine.sh --prepare              make ready (installs, first boot); says what it uses
#   tools/wine.sh PROGRAM [ARGUMENT...]  run one program; its exit code is ours
#   tools/wine.sh --shell SCRIPT [ARGUMENT...]
#                                        run a shell script that starts programs with $QV_WINE
#   tools/wine.sh --remove               delete the private root and the prefix
#
# Each call has its own mount and process space: when it ends, every Windows process that it
# started ends with it. Calls that share a prefix wait for one another; QV_WINEPREFIX names another
# prefix (a folder), so that two can run at once.
# Exit code 3: no Wine can be had; the reason is on standard error.
set -eu

cache=${XDG_CACHE_HOME:-$HOME/.cache}/qvsmapi
root=$cache/wine-root
prefix=${QV_WINEPREFIX:-$cache/wine-prefix}
here=$(cd "$(dirname "$0")/.." && pwd)

no_32_bit="this machine's kernel runs no 32-bit programs"
say() { echo "wine: $*" >&2; }
fail() { say "$*"; exit 3; }

as_root() {
  if [ "$(id -u)" = 0 ]; then "$@"; else sudo "$@"; fi
}

# A Wine of the machine counts when it really runs 32-bit programs.
system_wine() {
  command -v wine >/dev/null 2>&1 || return 1
  [ -d /usr/lib/i386-linux-gnu/wine ] || [ -d /usr/lib/wine/i386-windows ]
}

# "tzdata" is what tests of time zones compare with.
packages=wine32,wine,tzdata

make_root() {
  # The mark names what the root holds, so that an older one is made again.
  [ "$(cat "$root/.complete" 2>/dev/null)" = "$packages" ] && return 0
  command -v mmdebstrap >/dev/null 2>&1 && command -v arch-test >/dev/null 2>&1 || {
    say "installing mmdebstrap and arch-test"
    as_root apt-get install -y -q --no-install-recommends mmdebstrap arch-test >/dev/null 2>&1 ||
      fail "mmdebstrap cannot be installed (network?)"
  }
  arch-test i386 >/dev/null 2>&1 || fail "$no_32_bit"
  say "making a private 32-bit Wine in $root (850 MB, once)"
  mkdir -p "$cache"
  rm -rf "$root"
  uri=$(apt-get indextargets --format '$(REPO_URI) $(CODENAME) $(COMPONENT)' \
    'Created-By: Packages' | awk '$2 == "bookworm" && $3 == "main" { print $1; exit }')
  [ -n "$uri" ] || fail "this machine's package sources do not name bookworm main"
  mmdebstrap --quiet --architectures=i386 --variant=essential --include="$packages" \
    --aptopt='APT::Install-Recommends "false"' bookworm "$root" \
    "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $uri bookworm main" \
    >"$cache/wine-root.log" 2>&1 || fail "the root could not be made; see $cache/wine-root.log"
  echo "$packages" >"$root/.complete"
}

# First boot of the prefix; no display is needed afterwards.
boot_prefix() {
  [ -f "$prefix/.ready" ] && return 0
  mkdir -p "$prefix"
  say "first boot of the prefix $prefix"
  # The set-up may go on behind wineboot; what starts meanwhile would stop it half done.
  # shellcheck disable=SC2016
  run_inside sh -ec '
    $QV_WINE wineboot -i
    timeout 120 wineserver -w || true
    $QV_WINE reg add "HKCU\\Software\\Wine\\Drivers" /v Graphics /t REG_SZ /d null /f
    wineserver -k || true
    timeout 120 wineserver -w || true' >"$cache/wine-boot.log" 2>&1 ||
    fail "the prefix does not boot; see $cache/wine-boot.log"
  touch "$prefix/.ready"
}

# Runs a command line with $QV_WINE set to what starts a Windows program.
run_inside() {
  if system_wine; then
    HOME=$prefix WINEARCH=win32 WINEPREFIX=$prefix/wine WINEDEBUG=${WINEDEBUG:--all} QV_WINE=wine \
      "$@"
    return
  fi
  user_space=
  [ "$(id -u)" = 0 ] || user_space=-r
  # The machine's /tmp is shared too: programs are often given files there.
  # shellcheck disable=SC2016
  unshare $user_space -m -p -f --kill-child sh -c '
    set -eu
    root=$1 prefix=$2 project=$3 folder=$4 debug=$5; shift 5
    for place in "$prefix" "$project" /tmp; do
      mkdir -p "$root$place"
      mount --bind "$place" "$root$place"
    done
    mount -t proc proc "$root/proc"
    mount --bind /dev "$root/dev"
    exec chroot "$root" /usr/bin/env -i HOME="$prefix" PATH=/usr/bin:/bin:/usr/lib/wine \
      WINEARCH=win32 WINEPREFIX="$prefix/wine" WINEDEBUG="$debug" QV_WINE=wine \
      QV_WINE_FOLDER="$folder" LANG=C.UTF-8 DISPLAY="${DISPLAY-}" \
      sh -c "cd \"\$QV_WINE_FOLDER\" && exec \"\$@\"" sh "$@"' \
    sh "$root" "$prefix" "$here" "$(pwd)" "${WINEDEBUG:--all}" "$@"
}

# One server per prefix: calls that share it take turns.
take_turn() {
  mkdir -p "$cache"
  exec 9>"$prefix.lock"
  flock 9
}

prepare() {
  take_turn
  if system_wine; then
    say "using the Wine of this machine"
  else
    make_root
    mkdir -p "$prefix"
    run_inside true 2>/dev/null || fail "$no_32_bit"
  fi
  boot_prefix
}

case ${1-} in
  --prepare)
    prepare
    if system_wine; then wine --version; else run_inside sh -c '$QV_WINE --version'; fi
    ;;
  --remove) rm -rf "$root" "$prefix" ;;
  --shell)
    shift
    prepare
    run_inside sh "$@"
    ;;
  "" | --help | -h) sed -n '2,/^set -eu/p' "$0" | sed '$d; s/^# \{0,1\}//' ;;
  *)
    prepare
    run_inside wine "$@"
    ;;
esac
