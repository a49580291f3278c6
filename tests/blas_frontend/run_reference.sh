#!/usr/bin/env bash
# Runs one of the reference BLAS or CBLAS test programs (Debian's libblas-test) on
# libzvx_blas.so.3, with its error-exit tests on (the input files of the package turn them on),
# and judges its report.
#   run_reference.sh <library> <program> [<input file>]
# The program is loaded with our library first (LD_PRELOAD), so every BLAS name it calls binds
# to ours; its own xerbla_/cblas_xerbla, which check the error reports, still take precedence
# over ours as the standard interface requires. Under the sanitizers the runtime of the
# sanitizers must come first ($ZVX_PRELOAD_FIRST).
set -uo pipefail
lib=$1 program=$2 input=${3:-}
if [ ! -x "$program" ]; then
  echo "reference test program $program is missing (scripts/setup.sh installs libblas-test)"
  exit 1
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
preload="${ZVX_PRELOAD_FIRST:+$ZVX_PRELOAD_FIRST }$lib"
if [ -n "$input" ]; then
  LD_PRELOAD="$preload" "$program" < "$input" > stdout.txt 2>&1
else
  LD_PRELOAD="$preload" "$program" > stdout.txt 2>&1
fi
status=$?
# Level 2 and 3 programs write their summary to the file their input names.
cat stdout.txt *.out > report.txt 2>/dev/null
cat report.txt
if [ $status -ne 0 ]; then echo "TEST PROGRAM EXITED WITH STATUS $status"; exit 1; fi
if grep -Eqi 'FAIL|SUSPECT|INSTEAD|NOT DETECTED|WRONG|ERROR IN|\*\*\*\*\*' report.txt; then
  echo "THE REFERENCE TEST PROGRAM REPORTS A FAULT"; exit 1
fi
if [ -n "$input" ]; then
  # Every routine the input selects must pass its computational tests and its error exits.
  routines=$(grep -Ec '^[A-Za-z_0-9]+ +T ' "$input")
  computational=$(grep -c 'PASSED THE .*COMPUTATIONAL TESTS' report.txt)
  exits=$(grep -c 'PASSED THE TESTS OF ERROR-EXITS' report.txt)
  echo "routines selected: $routines; computational passes: $computational; error exits: $exits"
  if [ "$computational" -lt "$routines" ] || [ "$exits" -lt "$routines" ]; then
    echo "NOT EVERY SELECTED ROUTINE PASSED"; exit 1
  fi
else
  tests=$(grep -c 'Test of subprogram' report.txt)
  passes=$(grep -c -- '----- PASS -----' report.txt)
  echo "subprograms tested: $tests; passed: $passes"
  if [ "$tests" -eq 0 ] || [ "$passes" -ne "$tests" ]; then echo "NOT EVERY SUBPROGRAM PASSED"; exit 1; fi
fi
exit 0
