#!/usr/bin/env bash
# Runs numpy_check.py with NumPy on libzvx_blas.so.3, without touching the system: a throw-away
# directory holds libblas.so.3 (our library) and the reference liblapack.so.3, and
# LD_LIBRARY_PATH names it. Exit status 77 (skipped) where Debian's NumPy is not installed.
#   run_numpy.sh <libzvx_blas.so.3> <numpy_check.py>
set -uo pipefail
lib=$1 check=$2
python=/usr/bin/python3
lapack=/usr/lib/x86_64-linux-gnu/lapack/liblapack.so.3
if ! "$python" -c 'import numpy' 2>/dev/null; then
  echo "NumPy (python3-numpy) is not installed: skipped"; exit 77
fi
[ -f "$lapack" ] || { echo "the reference LAPACK (liblapack3) is not installed: skipped"; exit 77; }
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
ln -s "$(readlink -f "$lib")" "$dir/libblas.so.3"
ln -s "$lapack" "$dir/liblapack.so.3"
env=(LD_LIBRARY_PATH="$dir${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}")
[ -n "${ZVX_PRELOAD_FIRST:-}" ] && env+=(LD_PRELOAD="$ZVX_PRELOAD_FIRST")
env "${env[@]}" "$python" "$check"
