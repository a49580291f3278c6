#!/usr/bin/env bash
# Runs the ScaLAPACK example (pdgesv on a 2 x 1 grid, two local ranks) on libzvx_blas.so.3 and
# the reference LAPACK, named in LD_LIBRARY_PATH through a throw-away directory, and checks its
# residual and that dgemm_ came from our library.
#   run_scalapack.sh <scalapack_pdgesv> <libzvx_blas.so.3>
set -uo pipefail
exe=$1 lib=$2
lapack=/usr/lib/x86_64-linux-gnu/lapack/liblapack.so.3
command -v mpirun >/dev/null || { echo "mpirun (openmpi-bin) is not installed: skipped"; exit 77; }
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
ln -s "$(readlink -f "$lib")" "$dir/libblas.so.3"
ln -s "$lapack" "$dir/liblapack.so.3"
export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1
out=$(mpirun -np 2 --oversubscribe -x LD_LIBRARY_PATH="$dir" ${ZVX_PRELOAD_FIRST:+-x LD_PRELOAD="$ZVX_PRELOAD_FIRST"} \
      -x ASAN_OPTIONS -x OMP_NUM_THREADS "$exe" 800 2>&1)
status=$?
echo "$out"
[ $status -eq 0 ] || { echo "the example failed (status $status)"; exit 1; }
grep -q '^PASSED$' <<<"$out" || exit 1
from=$(sed -n 's/^dgemm_ from //p' <<<"$out")
[ "$(readlink -f "$from")" = "$(readlink -f "$lib")" ] || { echo "dgemm_ did not come from $lib"; exit 1; }
