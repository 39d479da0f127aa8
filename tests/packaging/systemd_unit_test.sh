#!/usr/bin/env bash
# systemd-analyze verify accepts the configured unit without a word of complaint; its
# ExecStart is pointed at the built daemon, as verify needs the program to exist.
# Exits 77 (skipped) where systemd's tools are not installed.
# usage: systemd_unit_test.sh BUILD_DIR
set -euo pipefail
build=$1
command -v systemd-analyze >/dev/null || { echo "systemd-analyze is not installed"; exit 77; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sed "s|^ExecStart=.*/camrcd\$|ExecStart=$build/camrcd|" "$build/camrcd.service" >"$work/camrcd.service"
grep -qx "ExecStart=$build/camrcd" "$work/camrcd.service" || { echo "FAIL: no ExecStart line"; exit 1; }
status=0
complaints=$(systemd-analyze verify "$work/camrcd.service" 2>&1) || status=$?
if [ "$status" -ne 0 ] || [ -n "$complaints" ]; then
  echo "FAIL: systemd-analyze verify:"
  echo "$complaints"
  exit 1
fi
echo "systemd-analyze verify accepts camrcd.service"
