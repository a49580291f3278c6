#!/usr/bin/env bash
# libzvx_blas.so.3 exports exactly the standard names of its version script and leaves no BLAS
# name (standard or the library's own) to be bound elsewhere: none of its calls can land in
# another BLAS of the process. The error handlers it defines itself stay interposable.
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
# No undefined name may be a BLAS name, decorated (dgemm_, cblas_dgemm) or not (dgemm, the
# library's own entries): those must all be bound inside the library.
blas_like=$( (echo "$listed"; echo "$listed" | sed -n 's/_$//p') | sort -u)
foreign=$(comm -12 <(nm -D --undefined-only "$lib" | awk '{print $2}' | sed 's/@.*//' | sort -u) \
                   <(echo "$blas_like"))
if [ -n "$foreign" ]; then echo "BLAS names left to other libraries:"; echo "$foreign"; exit 1; fi
# Every standard name must be defined here, not merely referenced. grep reads a here-string, not
# a pipe: grep -q leaves at the first match, and a writer still writing would then fail on the
# broken pipe, which pipefail reports as a miss.
for n in dgemm_ zgemm_ ddot_ cblas_dgemm cblas_zhemv CBLAS_CallFromC RowMajorStrg; do
  grep -qx "$n" <<<"$exported" || { echo "$n is not exported"; exit 1; }
done
# Every routine the public CBLAS header declares is exported.
if [ -n "$header" ]; then
  declared=$(${CC:-cc} -E -P -x c "$header" | grep -o 'cblas_[a-z0-9_]*[ ]*(' | tr -d ' (' | sort -u)
  missing=$(comm -23 <(echo "$declared") <(echo "$exported"))
  [ -z "$missing" ] || { echo "declared in $header but not exported:"; echo "$missing"; exit 1; }
  echo "$(echo "$declared" | wc -l) CBLAS routines declared, all exported"
fi
