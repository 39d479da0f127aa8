#!/usr/bin/env bash
# cmake --install into a fresh DESTDIR holds exactly the camera's files: the two
# programs, their manual pages, the init script and the systemd unit, with the
# configured daemon path in both start-up files, and the dissector camrcd.lua, and
# nothing else (no test program, library or header). The daemon needs no shared
# library but the C library's (a sanitizer build's its runtimes too): a camera image
# need not carry the C++ runtime, nor the protocol's texts (none of the dissector's
# field meanings and message titles is a string of it). Wireshark loads the installed
# dissector as a plugin, and on this machine (not in a cross build) the plugin folder of
# the prefix /usr is the one Wireshark looks in.
# usage: install_test.sh BUILD_DIR PREFIX SYSCONFDIR UNIT_DIR PLUGIN_DIR MULTIARCH [EMULATOR]
set -euo pipefail
build=$1 prefix=$2 sysconfdir=$3 unitdir=$4 plugindir=$5 multiarch=$6 emulator=${7:-}
destdir=$(mktemp -d)
trap 'rm -rf "$destdir"' EXIT

DESTDIR=$destdir cmake --install "$build" >/dev/null
[[ $unitdir = /* ]] || unitdir=$prefix/$unitdir
relative_plugindir=$plugindir
[[ $plugindir = /* ]] || plugindir=$prefix/$plugindir
expected=$(sort <<LIST
$prefix/sbin/camrcd 755
$prefix/bin/camrc 755
$prefix/share/man/man8/camrcd.8 644
$prefix/share/man/man1/camrc.1 644
$sysconfdir/init.d/S50camrcd 755
$unitdir/camrcd.service 644
$plugindir/camrcd.lua 644
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
if ! command -v tshark >/dev/null; then
  echo "tshark is not installed (scripts/test installs it)"
  exit 1
fi
# A home whose personal plugin folder is the installed one.
mkdir -p "$destdir/home/.local/lib/wireshark"
ln -s "$destdir$plugindir" "$destdir/home/.local/lib/wireshark/plugins"
if ! HOME=$destdir/home tshark -G fields 2>/dev/null | grep -q 'camrcd\.message'; then
  echo "Wireshark does not load the installed $plugindir/camrcd.lua"
  exit 1
fi
if [ -z "$emulator" ] && [[ $relative_plugindir != /* ]] && [ -n "$multiarch" ]; then
  usr_plugindir=/usr/${relative_plugindir/#lib\//lib/$multiarch/}
  wireshark_dir=$(tshark -G folders 2>/dev/null | sed -n 's/^Global Lua Plugins:\s*//p')
  if [ "$usr_plugindir" != "$wireshark_dir" ]; then
    echo "with the prefix /usr camrcd.lua goes to $usr_plugindir, Wireshark looks in $wireshark_dir"
    exit 1
  fi
fi
needed=$(readelf -d "$destdir$prefix/sbin/camrcd" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
  grep -vE '^(libc\.so|ld-linux|libpthread\.so|lib(a|ub|t)san\.so)' || true)
if [ -n "$needed" ]; then
  echo "camrcd needs more than the C library: $needed"
  exit 1
fi
# The meanings (those of more than one word) and the titles come with the summaries in
# one object of the client side, so any of them in the daemon means all of them.
texts=$(sed -n -e 's/.*ProtoField\.[a-z0-9]*("[^"]*", "[^":]*: \([^"]* [^"]*\)".*/\1/p' \
  -e 's/^  {name = "\([^"]*\)".*/\1/p' "$destdir$plugindir/camrcd.lua")
leaked=$(strings -n 4 "$destdir$prefix/sbin/camrcd" | grep -xF -f <(echo "$texts") || true)
if [ -z "$texts" ] || [ -n "$leaked" ]; then
  echo "camrcd carries the protocol's texts (or camrcd.lua names none):" $leaked
  exit 1
fi
echo "installed exactly the $(wc -l <<<"$expected") expected files; Wireshark loads camrcd.lua"
