#!/usr/bin/env bash
# Each companion file exports the names the library binds and nothing else.
# Usage: check_companion_exports.sh <companion.map> <file>...
set -euo pipefail
map=$1
shift
wanted=$(sed -e 's#/\*.*\*/##g' "$map" | awk '/global:/{g=1; next} /local:/{g=0} g' | tr -d ' \t;' | grep -v '^$' | sort -u)
status=0
for lib in "$@"; do
  exported=$(nm -D --defined-only "$lib" | awk '{print $3}' | sed 's/@.*//' | grep -v '^$' | sort -u)
  if [ "$exported" != "$wanted" ]; then
    echo "$lib exports differ from $map:"
    diff <(echo "$wanted") <(echo "$exported") || true
    status=1
  fi
done
[ "$status" -eq 0 ] && echo "companion exports: $# files, $(echo "$wanted" | wc -l) names each"
exit $status
