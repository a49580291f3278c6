"""NumPy on libzvx_blas.so.3: the products and factorizations NumPy takes from the BLAS (and the
reference LAPACK over it) agree with their definitions to the usual residual bounds, and the
process really runs on our library (its loaded objects)."""
import sys
import numpy as np

def loaded_objects():
    with open('/proc/self/maps') as f:
        return {line.split()[-1] for line in f if '/' in line}

def main():
    rng = np.random.default_rng(19)
    eps = np.finfo(np.float64).eps
    failures = []

    def check(name, value, bound):
        ok = bool(np.isfinite(value) and value <= bound)
        print(f'{name:40s} {value:10.3e}  (bound {bound:.1e})  {"ok" if ok else "FAIL"}')
        if not ok:
            failures.append(name)

    # Products against the same products in extended precision, which NumPy computes without
    # the BLAS.
    for (m, k, n) in ((150, 120, 130), (64, 1, 33)):
        a, b = rng.standard_normal((m, k)), rng.standard_normal((k, n))
        exact = a.astype(np.longdouble) @ b.astype(np.longdouble)
        err = np.abs(a @ b - exact).max() / (np.abs(a).max() * np.abs(b).max() * k * eps)
        check(f'dot {m}x{k}x{n}', float(err), 4.0)
        err = np.abs(np.asfortranarray(a) @ b - exact).max() / (np.abs(a).max() * np.abs(b).max() * k * eps)
        check(f'dot {m}x{k}x{n} (transposed storage)', float(err), 4.0)
    za = rng.standard_normal((90, 70)) + 1j * rng.standard_normal((90, 70))
    zb = rng.standard_normal((70, 80)) + 1j * rng.standard_normal((70, 80))
    exact = za.astype(np.clongdouble) @ zb.astype(np.clongdouble)
    check('complex dot 90x70x80', float(np.abs(za @ zb - exact).max() / (np.abs(za).max() * np.abs(zb).max() * 70 * eps)), 8.0)
    x, y = za[:, 0], za[:, 1]
    exact = np.sum(np.conj(x.astype(np.clongdouble)) * y.astype(np.clongdouble))
    check('vdot (conjugated)', float(abs(np.vdot(x, y) - exact) / (np.abs(x).max() * np.abs(y).max() * 90 * eps)), 4.0)
    v = rng.standard_normal(200)
    m = rng.standard_normal((150, 200))
    exact = m.astype(np.longdouble) @ v.astype(np.longdouble)
    check('matrix-vector', float(np.abs(m @ v - exact).max() / (np.abs(m).max() * np.abs(v).max() * 200 * eps)), 4.0)

    n = 200
    a = rng.standard_normal((n, n))
    b = rng.standard_normal((n, 3))
    x = np.linalg.solve(a, b)
    res = np.linalg.norm(a @ x - b, 1) / (np.linalg.norm(a, 1) * np.linalg.norm(x, 1) * n * eps)
    check('solve: scaled residual', float(res), 1.0)

    s = a + a.T
    w, q = np.linalg.eigh(s)
    check('eigh: scaled residual', float(np.linalg.norm(s @ q - q * w, 1) / (np.linalg.norm(s, 1) * n * eps)), 1.0)
    check('eigh: orthogonality', float(np.linalg.norm(q.T @ q - np.eye(n), 1) / (n * eps)), 4.0)
    check('eigh: ascending', 0.0 if np.all(np.diff(w) >= 0) else 1.0, 0.5)

    g = rng.standard_normal((n, 150))
    u, sv, vt = np.linalg.svd(g, full_matrices=False)
    check('svd: scaled residual', float(np.linalg.norm(g - (u * sv) @ vt, 1) / (np.linalg.norm(g, 1) * n * eps)), 1.0)
    check('svd: orthogonality of U', float(np.linalg.norm(u.T @ u - np.eye(150), 1) / (n * eps)), 4.0)
    check('svd: orthogonality of V', float(np.linalg.norm(vt @ vt.T - np.eye(150), 1) / (n * eps)), 4.0)

    rhs = rng.standard_normal(n)
    xl, *_ = np.linalg.lstsq(g, rhs, rcond=None)
    # The residual of a least-squares solution is orthogonal to the columns.
    r = g @ xl - rhs
    check('lstsq: normal equations', float(np.abs(g.T @ r).max() / (np.linalg.norm(g, 2) ** 2 * np.linalg.norm(xl) * n * eps)), 1.0)

    objs = loaded_objects()
    ours = [o for o in objs if 'libzvx_blas.so' in o]
    others = [o for o in objs if ('blas' in o.split('/')[-1] or 'lapack' in o.split('/')[-1]) and 'libzvx_blas' not in o]
    print('loaded:', ours, others)
    if not ours:
        failures.append('libzvx_blas.so.3 is not loaded')
    if any('openblas' in o or '/blas/' in o for o in others):
        failures.append('another BLAS is loaded: ' + ', '.join(others))
    if failures:
        print('FAILED:', ', '.join(failures))
        return 1
    return 0

if __name__ == '__main__':
    sys.exit(main())
