#!/usr/bin/env python3
"""The table of the standard Fortran BLAS interface, and the generator of its wrappers.

Every level-2 and level-3 routine is one family line: its argument list, its checks (parameter
number and the condition that makes the argument illegal, in the order the standard routines test
them), its quick return, and the types it comes in. Level-1 routines take no checks; they forward
to the library's entries, with the quick returns the standard interface documents where those
differ from ours.

Usage: routines.py <out-dir>   writes fortran_bodies.inc, fortran_wrappers.inc, libzvx_blas.map.
"""
import sys, os

T = {'s': 'float', 'd': 'double', 'c': 'zvx_complex8', 'z': 'zvx_complex16'}
R = {'s': 'float', 'd': 'double', 'c': 'float', 'z': 'double'}

# Argument kinds: ch letter, i integer, a scalar of the type, r real scalar, m read-only array,
# w written array.
def ctype(kind, t):
    return {'ch': 'const char*', 'i': 'const int*', 'a': f'const {T[t]}*', 'r': f'const {R[t]}*',
            'm': f'const {T[t]}*', 'w': f'{T[t]}*'}[kind]

TRANS = 'notrans_tc(*{0})'
# Families: name pattern, arguments, checks [(parameter, condition)], quick return, types.
# Conditions use the argument names; helpers: is_n/is_t/is_c/is_u/is_l/is_r (letter tests as the
# standard LSAME: first character, either case), zero(x)/one(x) on scalars.
L2 = [
 ('{t}gemv', 'trans:ch m:i n:i alpha:a a:m lda:i x:m incx:i beta:a y:w incy:i',
  [(1, '!(is_n(*trans) || is_t(*trans) || is_c(*trans))'), (2, '*m < 0'), (3, '*n < 0'),
   (6, '*lda < imax(1, *m)'), (8, '*incx == 0'), (11, '*incy == 0')],
  '*m == 0 || *n == 0 || (zero(*alpha) && one(*beta))', 'sdcz'),
 ('{t}gbmv', 'trans:ch m:i n:i kl:i ku:i alpha:a a:m lda:i x:m incx:i beta:a y:w incy:i',
  [(1, '!(is_n(*trans) || is_t(*trans) || is_c(*trans))'), (2, '*m < 0'), (3, '*n < 0'),
   (4, '*kl < 0'), (5, '*ku < 0'), (8, '*lda < *kl + *ku + 1'), (10, '*incx == 0'),
   (13, '*incy == 0')],
  '*m == 0 || *n == 0 || (zero(*alpha) && one(*beta))', 'sdcz'),
 ('{t}{sh}mv', 'uplo:ch n:i alpha:a a:m lda:i x:m incx:i beta:a y:w incy:i',
  [(1, '!(is_u(*uplo) || is_l(*uplo))'), (2, '*n < 0'), (5, '*lda < imax(1, *n)'),
   (7, '*incx == 0'), (10, '*incy == 0')],
  '*n == 0 || (zero(*alpha) && one(*beta))', 'sdcz'),
 ('{t}{s1}bmv', 'uplo:ch n:i k:i alpha:a a:m lda:i x:m incx:i beta:a y:w incy:i',
  [(1, '!(is_u(*uplo) || is_l(*uplo))'), (2, '*n < 0'), (3, '*k < 0'), (6, '*lda < *k + 1'),
   (8, '*incx == 0'), (11, '*incy == 0')],
  '*n == 0 || (zero(*alpha) && one(*beta))', 'sdcz'),
 ('{t}{s1}pmv', 'uplo:ch n:i alpha:a ap:m x:m incx:i beta:a y:w incy:i',
  [(1, '!(is_u(*uplo) || is_l(*uplo))'), (2, '*n < 0'), (6, '*incx == 0'), (9, '*incy == 0')],
  '*n == 0 || (zero(*alpha) && one(*beta))', 'sdcz'),
]
TRI = [(1, '!(is_u(*uplo) || is_l(*uplo))'), (2, '!(is_n(*trans) || is_t(*trans) || is_c(*trans))'),
       (3, '!(is_u(*diag) || is_n(*diag))'), (4, '*n < 0')]
for op in ('mv', 'sv'):
    L2 += [
     ('{t}tr' + op, 'uplo:ch trans:ch diag:ch n:i a:m lda:i x:w incx:i',
      TRI + [(6, '*lda < imax(1, *n)'), (8, '*incx == 0')], '*n == 0', 'sdcz'),
     ('{t}tb' + op, 'uplo:ch trans:ch diag:ch n:i k:i a:m lda:i x:w incx:i',
      TRI + [(5, '*k < 0'), (7, '*lda < *k + 1'), (9, '*incx == 0')], '*n == 0', 'sdcz'),
     ('{t}tp' + op, 'uplo:ch trans:ch diag:ch n:i ap:m x:w incx:i',
      TRI + [(7, '*incx == 0')], '*n == 0', 'sdcz'),
    ]
GER = ('m:i n:i alpha:a x:m incx:i y:m incy:i a:w lda:i',
       [(1, '*m < 0'), (2, '*n < 0'), (5, '*incx == 0'), (7, '*incy == 0'), (9, '*lda < imax(1, *m)')],
       '*m == 0 || *n == 0 || zero(*alpha)')
L2 += [('{t}ger',) + GER + ('sd',), ('{t}geru',) + GER + ('cz',), ('{t}gerc',) + GER + ('cz',)]
UPLO_N = [(1, '!(is_u(*uplo) || is_l(*uplo))'), (2, '*n < 0')]
L2 += [
 ('{t}syr', 'uplo:ch n:i alpha:a x:m incx:i a:w lda:i',
  UPLO_N + [(5, '*incx == 0'), (7, '*lda < imax(1, *n)')], '*n == 0 || zero(*alpha)', 'sd'),
 ('{t}her', 'uplo:ch n:i alpha:r x:m incx:i a:w lda:i',
  UPLO_N + [(5, '*incx == 0'), (7, '*lda < imax(1, *n)')], '*n == 0 || zero(*alpha)', 'cz'),
 ('{t}spr', 'uplo:ch n:i alpha:a x:m incx:i ap:w',
  UPLO_N + [(5, '*incx == 0')], '*n == 0 || zero(*alpha)', 'sd'),
 ('{t}hpr', 'uplo:ch n:i alpha:r x:m incx:i ap:w',
  UPLO_N + [(5, '*incx == 0')], '*n == 0 || zero(*alpha)', 'cz'),
 ('{t}{sh}r2', 'uplo:ch n:i alpha:a x:m incx:i y:m incy:i a:w lda:i',
  UPLO_N + [(5, '*incx == 0'), (7, '*incy == 0'), (9, '*lda < imax(1, *n)')],
  '*n == 0 || zero(*alpha)', 'sdcz'),
 ('{t}{s1}pr2', 'uplo:ch n:i alpha:a x:m incx:i y:m incy:i ap:w',
  UPLO_N + [(5, '*incx == 0'), (7, '*incy == 0')], '*n == 0 || zero(*alpha)', 'sdcz'),
]
SIDE_UPLO = [(1, '!(is_l(*side) || is_r(*side))'), (2, '!(is_u(*uplo) || is_l(*uplo))')]
L3 = [
 ('{t}gemm', 'transa:ch transb:ch m:i n:i k:i alpha:a a:m lda:i b:m ldb:i beta:a c:w ldc:i',
  [(1, '!(is_n(*transa) || is_t(*transa) || is_c(*transa))'),
   (2, '!(is_n(*transb) || is_t(*transb) || is_c(*transb))'),
   (3, '*m < 0'), (4, '*n < 0'), (5, '*k < 0'),
   (8, '*lda < imax(1, is_n(*transa) ? *m : *k)'), (10, '*ldb < imax(1, is_n(*transb) ? *k : *n)'),
   (13, '*ldc < imax(1, *m)')],
  '*m == 0 || *n == 0 || ((zero(*alpha) || *k == 0) && one(*beta))', 'sdcz'),
 ('{t}symm', 'side:ch uplo:ch m:i n:i alpha:a a:m lda:i b:m ldb:i beta:a c:w ldc:i',
  SIDE_UPLO + [(3, '*m < 0'), (4, '*n < 0'), (7, '*lda < imax(1, is_l(*side) ? *m : *n)'),
               (9, '*ldb < imax(1, *m)'), (12, '*ldc < imax(1, *m)')],
  '*m == 0 || *n == 0 || (zero(*alpha) && one(*beta))', 'sdcz'),
 ('{t}hemm', 'side:ch uplo:ch m:i n:i alpha:a a:m lda:i b:m ldb:i beta:a c:w ldc:i',
  SIDE_UPLO + [(3, '*m < 0'), (4, '*n < 0'), (7, '*lda < imax(1, is_l(*side) ? *m : *n)'),
               (9, '*ldb < imax(1, *m)'), (12, '*ldc < imax(1, *m)')],
  '*m == 0 || *n == 0 || (zero(*alpha) && one(*beta))', 'cz'),
]
# syrk/syr2k: the real types take N, T or C; the complex symmetric ones N or T; herk/her2k N or C.
for fam, args, extra, ldc in (
        ('{t}{sh}rk', 'uplo:ch trans:ch n:i k:i alpha:{al} a:m lda:i beta:{be} c:w ldc:i', [], 10),
        ('{t}{sh}r2k', 'uplo:ch trans:ch n:i k:i alpha:a a:m lda:i b:m ldb:i beta:{be} c:w ldc:i',
         [(9, '*ldb < imax(1, is_n(*trans) ? *n : *k)')], 12)):
    for types, sh, letters in (('sd', 'sy', 'is_n(*trans) || is_t(*trans) || is_c(*trans)'),
                               ('cz', 'sy', 'is_n(*trans) || is_t(*trans)'),
                               ('cz', 'he', 'is_n(*trans) || is_c(*trans)')):
        real = sh == 'he'
        L3.append((fam.replace('{sh}', sh),
                   args.format(t='{t}', al='r' if real and 'r2k' not in fam else 'a',
                               be='r' if real else 'a'),
                   [(1, '!(is_u(*uplo) || is_l(*uplo))'), (2, f'!({letters})'), (3, '*n < 0'),
                    (4, '*k < 0'), (7, '*lda < imax(1, is_n(*trans) ? *n : *k)')] + extra +
                   [(ldc, '*ldc < imax(1, *n)')],
                   '*n == 0 || ((zero(*alpha) || *k == 0) && one(*beta))', types))
for op in ('mm', 'sm'):
    L3.append(('{t}tr' + op, 'side:ch uplo:ch transa:ch diag:ch m:i n:i alpha:a a:m lda:i b:w ldb:i',
               SIDE_UPLO + [(3, '!(is_n(*transa) || is_t(*transa) || is_c(*transa))'),
                            (4, '!(is_u(*diag) || is_n(*diag))'), (5, '*m < 0'), (6, '*n < 0'),
                            (9, '*lda < imax(1, is_l(*side) ? *m : *n)'), (11, '*ldb < imax(1, *m)')],
               '*m == 0 || *n == 0', 'sdcz'))

# Level 1: name, result, arguments. Results: v none, f real of the type, F the type's real
# of the opposite (scnrm2...), x complex result by value, i integer. Forwarded unchanged.
def L1():
    out = []
    for t in 'sdcz':
        cx = t in 'cz'
        rt = 's' if t in 'sc' else 'd'
        out += [(f'{t}swap', 'v', 'n:i x:w incx:i y:w incy:i', t), (f'{t}copy', 'v', 'n:i x:m incx:i y:w incy:i', t),
                (f'{t}axpy', 'v', 'n:i alpha:a x:m incx:i y:w incy:i', t),
                (f'{t}scal', 'v', 'n:i alpha:a x:w incx:i', t),
                (f'i{t}amax', 'i', 'n:i x:m incx:i', t)]
        if not cx:
            out += [(f'{t}dot', 'r', 'n:i x:m incx:i y:m incy:i', t), (f'{t}nrm2', 'r', 'n:i x:m incx:i', t),
                    (f'{t}asum', 'r', 'n:i x:m incx:i', t),
                    (f'{t}rot', 'v', 'n:i x:w incx:i y:w incy:i c:r s:r', t),
                    (f'{t}rotg', 'v', 'a:w b:w c:w s:w', t),
                    (f'{t}rotm', 'v', 'n:i x:w incx:i y:w incy:i param:m', t),
                    (f'{t}rotmg', 'v', 'd1:w d2:w x1:w y1:m param:w', t)]
        else:
            rn = {'c': ('scnrm2', 'scasum', 'csscal', 'csrot', 'scabs1'),
                  'z': ('dznrm2', 'dzasum', 'zdscal', 'zdrot', 'dcabs1')}[t]
            out += [(f'{t}dotu', 'x', 'n:i x:m incx:i y:m incy:i', t), (f'{t}dotc', 'x', 'n:i x:m incx:i y:m incy:i', t),
                    (rn[0], 'r', 'n:i x:m incx:i', t), (rn[1], 'r', 'n:i x:m incx:i', t),
                    (rn[2], 'v', 'n:i alpha:r x:w incx:i', t),
                    (rn[3], 'v', 'n:i x:w incx:i y:w incy:i c:r s:r', t),
                    (rn[4], 'r', 'z:m', t),
                    (f'{t}rotg', 'v', 'a:w b:m c:rw s:w', t)]
    out += [('dsdot', 'd', 'n:i x:m incx:i y:m incy:i', 's'), ('sdsdot', 'r', 'n:i sb:r x:m incx:i y:m incy:i', 's')]
    return out

def parse(args, t):
    res = []
    for a in args.split():
        name, kind = a.split(':')
        if kind == 'rw':
            res.append((name, f'{R[t]}*', kind))
        else:
            res.append((name, ctype(kind, t), kind))
    return res

def expand(fam, t):
    sh = 'he' if t in 'cz' else 'sy'
    return fam.format(t=t, sh=sh, s1=sh[0])

def gen():
    out = ['// Generated by routines.py from its table; do not edit.', '']
    bodies = ['// Generated by routines.py from its table; do not edit.', '#pragma once', 'namespace zvx::front {']
    names = []
    seen = set()
    for fam, args, checks, quick, types in L2 + L3:
        for t in types:
            name = expand(fam, t)
            if name in seen:
                continue
            seen.add(name)
            params = parse(args, t)
            letters = [p for p in params if p[2] == 'ch']
            sig = ', '.join(f'{c} {n}' for n, c, k in params)
            call = ', '.join(n for n, c, k in params)
            hidden = ''.join(f', size_t {n}_len' for n, c, k in letters)
            base = name[1:]
            # The check and the body, overloaded on the type so that the CBLAS layer shares them:
            # check_ gives 0 or the number of the first bad argument; run_ checks, takes the quick
            # return and calls the library's entry.
            bodies.append(f'inline int check_{base}({sig}) {{')
            for num, cond in checks:
                bodies.append(f'  if ({cond}) return {num};')
            bodies.append('  return 0;\n}')
            bodies.append(f'inline int run_{base}({sig}) {{')
            bodies.append(f'  if (int info = check_{base}({call})) return info;')
            bodies.append(f'  if (!({quick})) ::{name}({call});')
            bodies.append('  return 0;\n}')
            out.append(f'FRONT_API void {name}_({sig}{hidden}) {{')
            out.append(f'  if (int info = run_{base}({call})) report("{name.upper():<6}", info);\n}}')
            names.append(name + '_')
    for name, res, args, t in L1():
        params = parse(args, t)
        sig = ', '.join(f'{c} {n}' for n, c, k in params)
        call = ', '.join(n for n, c, k in params)
        rtype = {'v': 'void', 'r': R[t] if name not in ('scnrm2', 'scasum', 'dznrm2', 'dzasum', 'scabs1', 'dcabs1') else R[t],
                 'd': 'double', 'i': 'int', 'x': T[t]}[res]
        # The standard quick returns where the library's own entries do otherwise.
        if name == 'sdsdot':
            body = 'return *n < 1 ? *sb : ::sdsdot(n, sb, x, incx, y, incy);'
        elif name in ('sdot', 'ddot'):
            # The body under the library's entry, scalars by value: one call less, for the
            # short vectors where a call's cost shows.
            body = 'return zvx::blas12::entry::dot(*n, x, *incx, y, *incy);'
        elif name == 'scabs1':
            body = 'return std::fabs(z->real) + std::fabs(z->imag);'
        elif name.endswith('scal'):
            body = f'if (*n >= 1 && *incx >= 1) ::{name}({call});'
        elif name.endswith('asum'):
            body = f'return *n < 1 || *incx < 1 ? {rtype}(0) : ::{name}({call});'
        elif name in ('crotg', 'zrotg'):
            body = (f'if (b->real == 0 && b->imag == 0) {{ *c = 1; *s = {{0, 0}}; return; }} '
                    f'::{name}({call});')
        elif res == 'x':
            body = f'{T[t]} r; ::{name}(&r, {call}); return r;'
        elif res == 'v':
            body = f'::{name}({call});'
        else:
            body = f'return ::{name}({call});'
        # The body is shared with the CBLAS layer; the exported name only forwards.
        bodies.append(f'inline {rtype} l1_{name}({sig}) {{ {body} }}')
        ret = '' if rtype == 'void' else 'return '
        out.append(f'FRONT_API {rtype} {name}_({sig}) {{ {ret}l1_{name}({call}); }}')
        names.append(name + '_')
    bodies.append('}  // namespace zvx::front')
    return out, bodies, names

if __name__ == '__main__':
    d = sys.argv[1]
    os.makedirs(d, exist_ok=True)
    lines, bodies, names = gen()
    with open(os.path.join(d, 'fortran_bodies.inc'), 'w') as f:
        f.write('\n'.join(bodies) + '\n')
    cblas = open(os.path.join(os.path.dirname(os.path.abspath(__file__)), 'cblas_names.txt')).read().split()
    with open(os.path.join(d, 'fortran_wrappers.inc'), 'w') as f:
        f.write('\n'.join(lines) + '\n')
    with open(os.path.join(d, 'libzvx_blas.map'), 'w') as f:
        f.write('/* Generated by routines.py: the names libzvx_blas.so.3 exports. */\n{\n  global:\n')
        for n in sorted(names + ['xerbla_', 'xerbla_array_', 'lsame_'] + cblas):
            f.write(f'    {n};\n')
        f.write('  local: *;\n};\n')
