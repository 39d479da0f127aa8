#!/usr/bin/env bash
# The init script against a sandbox camera root, with BusyBox's sh, start-stop-daemon
# and sleep when BusyBox is installed (else the system's): start, status, restart and
# stop, once with the output in a file and once through logger (a stand-in that keeps
# the lines). After each start the daemon listens and greets; after each stop the
# daemon, its pidfile and every process that carries the sandbox's root are gone.
# usage: init_script_test.sh SOURCE_DIR BUILD_DIR [EMULATOR WORDS...]
set -euo pipefail
source_dir=$1 build=$2
shift 2
emulator=("$@")
work=$(mktemp -d /tmp/camrcd-init-XXXXXX)
root=$work/root
fail() {
  echo "FAIL: $*"
  cat "$work"/*.log 2>/dev/null || true
  exit 1
}
# Processes whose environment holds this sandbox's root: the daemon and its helpers.
sandbox_processes() {
  grep -lsz "^CAMRCD_ROOT=$root\$" /proc/[0-9]*/environ | cut -d/ -f3 || true
}
# True while pid runs (a zombie that nobody has reaped yet has ended).
alive() {
  local state
  state=$(cut -d' ' -f3 "/proc/$1/stat" 2>/dev/null) && [ "$state" != Z ]
}
cleanup() {
  for pid in $(sandbox_processes); do kill -9 "$pid" 2>/dev/null || true; done
  rm -rf "$work"
}
trap cleanup EXIT

port=0
for try in 1 2 3 4 5 6 7 8 9 10; do
  candidate=$((20000 + (RANDOM % 12000)))  # below the ephemeral ports
  if ! (exec 3<>/dev/tcp/127.0.0.1/$candidate) 2>/dev/null; then
    port=$candidate
    break
  fi
done
[ "$port" -ne 0 ] || fail "no free port"
bash "$source_dir/tools/make-sandbox" "$root" --port "$port" --camstub "$build/camstub" >/dev/null

mkdir -p "$work/bin"
shell=/bin/sh
if busybox=$(command -v busybox); then
  for applet in sh start-stop-daemon sleep cat rm printf; do
    ln -s "$busybox" "$work/bin/$applet"
  done
  shell=$work/bin/sh
fi
printf '#!/bin/sh\nexec cat >>"%s/syslog.log"\n' "$work" >"$work/bin/logger"
chmod +x "$work/bin/logger"

daemon=$build/camrcd
if [ ${#emulator[@]} -gt 0 ]; then  # start-stop-daemon starts (and finds) the emulator
  daemon=${emulator[0]}
  arguments="${emulator[*]:1} $build/camrcd"
fi
cat >"$work/defaults" <<DEFAULTS
DAEMON=$daemon
DAEMON_ARGS="${arguments:-}"
PIDFILE=$work/camrcd.pid
export CAMRCD_ROOT=$root
export PATH=$work/bin:$root/bin:$PATH
DEFAULTS

init() {  # OUTPUT COMMAND
  { cat "$work/defaults" && echo "CAMRCD_OUTPUT=$1"; } >"$work/defaults.$$"
  CAMRCD_DEFAULTS=$work/defaults.$$ "$shell" "$build/S50camrcd" "$2"
}

# The daemon runs, has printed its listener line for the count-th time, and greets a
# client with "1000". Sets pid.
check_serving() {
  local output=$1 lines=$2 count=$3 greeting
  init "$output" status | grep -q "is running" || fail "status after start ($output)"
  pid=$(cat "$work/camrcd.pid")
  for try in $(seq 100); do
    [ "$(grep -cs "Control listen() started - port($port)" "$lines")" -ge "$count" ] && break
    sleep 0.1
  done
  [ "$(grep -cs "Control listen() started - port($port)" "$lines")" -ge "$count" ] ||
    fail "no listener line in $lines"
  exec 3<>"/dev/tcp/127.0.0.1/$port" || fail "nothing listens on $port"
  greeting=$(head -c 4 <&3)
  exec 3<&-
  [ "$greeting" = 1000 ] || fail "greeting \"$greeting\""
}

check_gone() {
  local output=$1 status=0
  ! alive "$pid" || fail "daemon $pid still runs after stop"
  [ ! -e "$work/camrcd.pid" ] || fail "pidfile left after stop"
  [ -z "$(sandbox_processes)" ] || fail "stray processes: $(sandbox_processes)"
  init "$output" status >/dev/null || status=$?
  [ "$status" -eq 3 ] || fail "status of a stopped daemon gave $status"
}

for output in "$work/camrcd.log" syslog; do
  lines=$output
  [ "$output" = syslog ] && lines=$work/syslog.log
  init "$output" start >/dev/null || fail "start ($output)"
  check_serving "$output" "$lines" 1
  first=$pid
  init "$output" restart >/dev/null || fail "restart ($output)"
  ! alive "$first" || fail "restart left daemon $first"
  check_serving "$output" "$lines" 2
  init "$output" stop >/dev/null || fail "stop ($output)"
  check_gone "$output"
done
echo "init script: start, status, restart and stop passed with $shell"
