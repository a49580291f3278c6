#!/usr/bin/env bash
# Checks the dynamic exports of libzvx_c3.so against the version script: nothing missing, nothing
# stray; every exported name declared in the public headers; no global constructors.
# Usage: check_exports.sh <library> <version script> <include dir> <C compiler>
set -euo pipefail
lib=$1 map=$2 inc=$3 cc=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Names the library means to export: the global section of the version script.
sed -e 's#/\*.*\*/##g' "$map" | awk '/global:/{g=1; next} /local:/{g=0} g' |
  tr -d ' \t;' | grep -v '^$' | sort -u > "$work/wanted"
nm -D --defined-only "$lib" | awk '{print $3}' | sed 's/@.*//' | grep -v '^$' | sort -u > "$work/exported"

status=0
if ! diff -u "$work/wanted" "$work/exported" > "$work/diff"; then
  echo "exports differ from the version script (- wanted only, + exported only):"
  grep -E '^[-+][^-+]' "$work/diff" || true
  status=1
fi

# Every exported name has a prototype in the public headers: a C file that takes the address of
# each one through zvx.h must compile with implicit declarations as errors.
{
  echo '#include "zvx.h"'
  echo 'void* zvx_export_addresses[] = {'
  sed 's/.*/  (void*)\&&,/' "$work/wanted"
  echo '};'
} > "$work/declared.c"
if ! "$cc" -std=c11 -Werror=implicit-function-declaration -fsyntax-only -I"$inc" "$work/declared.c" 2> "$work/cc.err"; then
  echo "exported names without a declaration in include/:"
  grep -oE "'[A-Za-z_0-9]+' undeclared" "$work/cc.err" | sort -u || cat "$work/cc.err"
  status=1
fi

# No C++ dynamic initialisation in the library.
# (grep reads a captured listing: grep -q on a pipe would stop early and, under pipefail, the
# writer's broken pipe would turn a match into a miss.)
constructors=$(nm "$lib" | grep '_GLOBAL__sub_I' || true)
if [ -n "$constructors" ]; then
  echo "the library has global constructors:"
  echo "$constructors"
  status=1
fi

count=$(wc -l < "$work/wanted")
if [ "$status" -eq 0 ]; then echo "exports: $count names, all present, declared and alone"; fi
exit $status
