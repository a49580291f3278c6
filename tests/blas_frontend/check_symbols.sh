#!/usr/bin/env bash
# libzvx_blas.so.3 exports exactly the standard names of its version script, and needs from
# other libraries nothing but the C, math, thread and OpenMP runtimes and the two error handlers
# that a program may supply: none of its calls can land in another BLAS of the process.
#   check_symbols.sh <library> <version script> [<zvx_cblas.h>]
set -euo pipefail
lib=$1 map=$2 header=${3:-}
exported=$(nm -D --defined-only "$lib" | awk '{print $3}' | sed 's/@.*//' | sort -u)
listed=$(sed -n 's/^ *\([A-Za-z_][A-Za-z_0-9]*\);$/\1/p' "$map" | sort -u)
if [ "$exported" != "$listed" ]; then
  echo "exported names differ from the version script:"; diff <(echo "$listed") <(echo "$exported"); exit 1
fi
count=$(echo "$exported" | wc -l)
echo "$count names exported"
# Undefined names other than the runtimes' (versioned) ones and the handlers.
foreign=$(nm -D --undefined-only "$lib" | awk '{print $2}' | grep -v '@' | grep -vx 'xerbla_\|cblas_xerbla' \
          | grep -v '^__\|^_ITM\|^_Jv' || true)
if [ -n "$foreign" ]; then echo "unexpected undefined names:"; echo "$foreign"; exit 1; fi
# Every standard name must be defined here, not merely referenced.
for n in dgemm_ zgemm_ ddot_ cblas_dgemm cblas_zhemv CBLAS_CallFromC RowMajorStrg; do
  echo "$exported" | grep -qx "$n" || { echo "$n is not exported"; exit 1; }
done
# Every routine the public CBLAS header declares is exported.
if [ -n "$header" ]; then
  declared=$(${CC:-cc} -E -P -x c "$header" | grep -o 'cblas_[a-z0-9_]*[ ]*(' | tr -d ' (' | sort -u)
  missing=$(comm -23 <(echo "$declared") <(echo "$exported"))
  [ -z "$missing" ] || { echo "declared in $header but not exported:"; echo "$missing"; exit 1; }
  echo "$(echo "$declared" | wc -l) CBLAS routines declared, all exported"
fi
