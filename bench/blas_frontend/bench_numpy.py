#!/usr/bin/env python3
"""NumPy on libzvx_blas.so.3 against NumPy on OpenBLAS: numpy.dot of two n x n matrices (one and
two threads) and numpy.linalg.solve (the reference LAPACK over our BLAS against OpenBLAS's own
LAPACK). Each side runs in its own NumPy process, whose libblas.so.3/liblapack.so.3 come from a
throw-away directory named in LD_LIBRARY_PATH; the processes alternate, and the medians of the
samples give the ratio (below 1.0: ours is faster). The peer is pinned to the same number of
threads (OPENBLAS_NUM_THREADS); ours follows the library's policy (serial without
OMP_NUM_THREADS).

    bench_numpy.py <libzvx_blas.so.3> [--n 2000] [--rounds 5] [--docs <docs/benchmarks.md>]
"""
import argparse, os, statistics, subprocess, sys, tempfile

ARCH = '/usr/lib/x86_64-linux-gnu'
PEER_BLAS = f'{ARCH}/openblas-pthread/libblas.so.3'
PEER_LAPACK = f'{ARCH}/openblas-pthread/liblapack.so.3'
REF_LAPACK = f'{ARCH}/lapack/liblapack.so.3'

WORKER = r'''
import sys, time, numpy as np
op, n, reps = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
rng = np.random.default_rng(1)
a = rng.standard_normal((n, n)); b = rng.standard_normal((n, n))
f = (lambda: np.dot(a, b)) if op == 'dot' else (lambda: np.linalg.solve(a, b[:, :1]))
f()
for _ in range(reps):
    t = time.perf_counter(); f(); print(time.perf_counter() - t)
'''

def side_dir(blas, lapack):
    d = tempfile.mkdtemp(prefix='zvx_numpy_')
    os.symlink(os.path.realpath(blas), os.path.join(d, 'libblas.so.3'))
    os.symlink(os.path.realpath(lapack), os.path.join(d, 'liblapack.so.3'))
    return d

def run(libdir, op, n, reps, env_extra):
    env = {k: v for k, v in os.environ.items()
           if k not in ('OMP_NUM_THREADS', 'ZVX_SERIAL', 'OPENBLAS_NUM_THREADS', 'LD_PRELOAD')}
    env['LD_LIBRARY_PATH'] = libdir
    env.update(env_extra)
    out = subprocess.run(['/usr/bin/python3', '-c', WORKER, op, str(n), str(reps)], env=env,
                         check=True, capture_output=True, text=True).stdout
    return [float(x) for x in out.split()]

def main():
    p = argparse.ArgumentParser()
    p.add_argument('lib')
    p.add_argument('--n', type=int, default=2000)
    p.add_argument('--rounds', type=int, default=5)
    p.add_argument('--docs')
    a = p.parse_args()
    ours = side_dir(a.lib, REF_LAPACK)
    peer = side_dir(PEER_BLAS, PEER_LAPACK)
    rows = []
    for op, threads in (('dot', 1), ('dot', 2), ('solve', 1), ('solve', 2)):
        our_env = {} if threads == 1 else {'OMP_NUM_THREADS': str(threads)}
        peer_env = {'OPENBLAS_NUM_THREADS': str(threads)}
        ts_o, ts_p = [], []
        for _ in range(a.rounds):
            ts_o += run(ours, op, a.n, 2, our_env)
            ts_p += run(peer, op, a.n, 2, peer_env)
        mo, mp = statistics.median(ts_o), statistics.median(ts_p)
        flops = 2 * a.n ** 3 if op == 'dot' else 2 * a.n ** 3 / 3
        name = f'numpy.dot {a.n} x {a.n}' if op == 'dot' else f'numpy.linalg.solve {a.n} x {a.n}'
        rows.append([name, str(threads), f'{mo:.3f}', f'{mp:.3f}', f'{mo / mp:.2f}',
                     f'{flops / mo / 1e9:.1f}'])
    table = ['### NumPy on libzvx_blas.so.3 against NumPy on OpenBLAS', '',
             '| operation | threads | ours s | OpenBLAS s | ratio | ours GFLOP/s |',
             '|---|---|---|---|---|---|'] + ['| ' + ' | '.join(r) + ' |' for r in rows] + [
             '', 'Medians of alternating NumPy processes; solve: the reference LAPACK over our BLAS '
             'against OpenBLAS with its own LAPACK.']
    print('\n'.join(table))
    if a.docs:
        text = open(a.docs).read()
        begin, end = '<!-- BEGIN blas_frontend_numpy -->', '<!-- END blas_frontend_numpy -->'
        block = begin + '\n' + '\n'.join(table) + '\n' + end
        if begin in text:
            text = text[:text.index(begin)] + block + text[text.index(end) + len(end):]
        else:
            text = text.rstrip('\n') + '\n\n' + block + '\n'
        open(a.docs, 'w').write(text)
    return 0

if __name__ == '__main__':
    sys.exit(main())
