#!/usr/bin/env bash
# cmake --install into a fresh DESTDIR holds exactly the camera's files: the two
# programs, their manual pages, the init script and the systemd unit, with the
# configured daemon path in both start-up files, and nothing else (no test program,
# library or header).
# usage: install_test.sh BUILD_DIR PREFIX SYSCONFDIR UNIT_DIR
set -euo pipefail
build=$1 prefix=$2 sysconfdir=$3 unitdir=$4
destdir=$(mktemp -d)
trap 'rm -rf "$destdir"' EXIT

DESTDIR=$destdir cmake --install "$build" >/dev/null
[[ $unitdir = /* ]] || unitdir=$prefix/$unitdir
expected=$(sort <<LIST
$prefix/sbin/camrcd 755
$prefix/bin/camrc 755
$prefix/share/man/man8/camrcd.8 644
$prefix/share/man/man1/camrc.1 644
$sysconfdir/init.d/S50camrcd 755
$unitdir/camrcd.service 644
LIST
)
found=$(cd "$destdir" && find . ! -type d -printf '/%P %m\n' | sort)
if [ "$found" != "$expected" ]; then
  echo "installed files differ from the expected ones:"
  diff <(echo "$expected") <(echo "$found") || true
  exit 1
fi
for file in "$sysconfdir/init.d/S50camrcd:DAEMON=" "$unitdir/camrcd.service:ExecStart="; do
  if ! grep -qx "${file#*:}$prefix/sbin/camrcd" "$destdir${file%%:*}"; then
    echo "${file%%:*} does not start $prefix/sbin/camrcd"
    exit 1
  fi
done
echo "installed exactly the $(wc -l <<<"$expected") expected files"
