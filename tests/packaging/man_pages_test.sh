#!/usr/bin/env bash
# The manual pages render without a warning (groff -man -ww), and camrc.1 names every
# command and option that camrc --help lists (a command line there is "  WORD [...",
# "  WORD TEXT", "  WORD get|set ..." or "  WORD" and its description).
# usage: man_pages_test.sh SOURCE_DIR CAMRC_COMMAND...
set -euo pipefail
pages=$1/docs/man
shift
for page in "$pages"/camrcd.8 "$pages"/camrc.1; do
  warnings=$(groff -man -ww -z "$page" 2>&1)
  if [ -n "$warnings" ]; then
    echo "FAIL: $page renders with warnings:"
    echo "$warnings"
    exit 1
  fi
done
help=$("$@" --help)
if ! grep -q '^exit status' <<<"$help"; then
  echo "FAIL: camrc --help is cut short before its exit statuses"
  exit 1
fi
manual=$(sed 's/\\-/-/g; s/\\f[BIRP]//g' "$pages/camrc.1")
missing=()
for option in $(grep -oE -- '--[a-z0-9-]+' <<<"$help" | sort -u); do
  grep -qwFe "$option" <<<"$manual" || missing+=("$option")
done
# A command is described where a line (an entry's tag) begins with it.
for command in $(grep -E '^  [a-z][a-z0-9-]*( \[| [A-Z]+ | (get|set) |  +|$)' <<<"$help" |
  awk '{print $1}' | sort -u); do
  grep -qE "^$command( |$)" <<<"$manual" || missing+=("$command")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "FAIL: camrc.1 does not mention: ${missing[*]}"
  exit 1
fi
echo "manual pages render cleanly; camrc.1 covers every command and option of camrc --help"
