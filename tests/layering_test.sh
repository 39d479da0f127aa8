#!/usr/bin/env bash
# The layers of src/, lowest first, and what each may include: a file includes only
# from its own layer and the layers below it. The programs of tools/ stand on the
# client side. A folder this table does not place fails too. The protocol's text
# (protocol/wire_text.*: names and meanings the daemon's image leaves out) is a layer
# of its own above protocol, which only the client side may include.
# usage: layering_test.sh SOURCE_DIR
set -euo pipefail
cd "$1"
declare -A below=(
  [platform]=""
  [protocol]="platform"
  [protocol_text]="protocol platform"
  [settings]="protocol platform"
  [auth]="protocol platform"
  [actions]="settings protocol platform"
  [groups]="actions settings protocol platform"
  [control]="groups actions settings auth protocol platform"
  [client]="auth protocol_text protocol platform"
  [tools]="client auth protocol_text protocol platform"
)
# layer_of PATH: the layer of a path below src/ (a file or an include).
layer_of() {
  case $1 in
    protocol/wire_text.*) echo protocol_text ;;
    *) echo "${1%%/*}" ;;
  esac
}
failed=0
while IFS= read -r line; do
  file=${line%%:*}
  include=${line#*\"}
  include=${include%%\"*}
  [[ $include == */* ]] || continue  # a header of the file's own folder
  layer=tools
  [[ $file == src/* ]] && layer=$(layer_of "${file#src/}")
  included=$(layer_of "$include")
  if [[ ! -v below[$layer] ]]; then
    echo "FAIL: $file: the folder src/$layer has no place among the layers"
    failed=1
  elif [[ " $layer ${below[$layer]} " != *" $included "* ]]; then
    echo "FAIL: $file includes $include: $layer stands below $included"
    failed=1
  fi
done < <(grep -rn '^#include "' src tools --include='*.cc' --include='*.h')
[ "$failed" -eq 0 ] && echo "every include runs to the same layer or a lower one"
exit "$failed"
