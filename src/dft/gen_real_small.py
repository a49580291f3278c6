#!/usr/bin/env python3
"""Writes engine_real_small.cpp: straight-line real transforms of 2 to 16 points.

Each kernel loads its whole input into locals, runs a fully unrolled radix-2 complex transform of
half the length on the pairs (x(2j), x(2j+1)) and the recombination with the roots of the full
length as literals, then stores the spectrum in the layout its `format` asks for. Run from the
build (src/dft/engine.cmake) as: python3 gen_real_small.py <output file>
"""
import sys
from decimal import Decimal, getcontext

getcontext().prec = 50
PI = Decimal("3.14159265358979323846264338327950288419716939937510")


def cos_sin(num, den):
    """cos and sin of 2 pi num / den, to 40 digits, by their series."""
    x = 2 * PI * num / den
    c, s, term, k = Decimal(0), Decimal(0), Decimal(1), 0
    while abs(term) > Decimal("1e-48") or k < 4:
        if k % 2 == 0:
            c += term if k % 4 == 0 else -term
        else:
            s += term if k % 4 == 1 else -term
        k += 1
        term = term * x / k
    return c, s


def literal(v):
    if v == 0:
        return "T(0)"
    return "T(%sL)" % format(v, ".22e")


class Emitter:
    def __init__(self):
        self.lines = []
        self.count = 0

    def let(self, expr):
        name = "t%d" % self.count
        self.count += 1
        self.lines.append("  const T %s = %s;" % (name, expr))
        return name


def is_zero(v):
    return abs(v) < Decimal("1e-40")


def cmul_const(e, z, c, s):
    """z times (c + i s), with the exact cases 1, -1, i, -i and equal magnitudes."""
    zr, zi = z
    if is_zero(s):
        if is_zero(c - 1):
            return z
        if is_zero(c + 1):
            return (e.let("-" + zr), e.let("-" + zi))
    if is_zero(c):
        if is_zero(s - 1):
            return (e.let("-" + zi), zr)
        if is_zero(s + 1):
            return (zi, e.let("-" + zr))
    if is_zero(abs(c) - abs(s)):
        k = literal(abs(c))
        # (zr + i zi)(c + i s) with |c| = |s|
        if c > 0 and s < 0:
            return (e.let("%s * (%s + %s)" % (k, zr, zi)), e.let("%s * (%s - %s)" % (k, zi, zr)))
        if c > 0 and s > 0:
            return (e.let("%s * (%s - %s)" % (k, zr, zi)), e.let("%s * (%s + %s)" % (k, zi, zr)))
        if c < 0 and s < 0:
            return (e.let("%s * (%s - %s)" % (k, zi, zr)), e.let("-%s * (%s + %s)" % (k, zr, zi)))
        return (e.let("-%s * (%s + %s)" % (k, zr, zi)), e.let("%s * (%s - %s)" % (k, zr, zi)))
    lc, ls = literal(c), literal(s)
    return (e.let("%s * %s - %s * %s" % (zr, lc, zi, ls)),
            e.let("%s * %s + %s * %s" % (zr, ls, zi, lc)))


def fft(e, xs, sign):
    """Unrolled radix-2 transform of the complex values xs, exp(sign 2 pi i jk / m)."""
    m = len(xs)
    if m == 1:
        return xs
    even = fft(e, xs[0::2], sign)
    odd = fft(e, xs[1::2], sign)
    out = [None] * m
    for k in range(m // 2):
        c, s = cos_sin(k, m)
        t = cmul_const(e, odd[k], c, sign * s)
        a = even[k]
        out[k] = (e.let("%s + %s" % (a[0], t[0])), e.let("%s + %s" % (a[1], t[1])))
        out[k + m // 2] = (e.let("%s - %s" % (a[0], t[0])), e.let("%s - %s" % (a[1], t[1])))
    return out


def places(n, fmt):
    """Index of R(0), of R(N/2), and of the pair of k = 1 (the others follow it) for a format."""
    if fmt == "perm":
        return 0, 1, 2
    if fmt == "pack":
        return 0, n - 1, 1
    return 0, n, 2


def forward(n):
    e = Emitter()
    h = n // 2
    x = ["x%d" % j for j in range(n)]
    loads = ["  const T x%d = in[%d];" % (j, j) for j in range(n)]
    if n == 2:
        r0, rh, pairs = e.let("x0 + x1"), e.let("x0 - x1"), []
    else:
        z = fft(e, [(x[2 * j], x[2 * j + 1]) for j in range(h)], -1)
        r0 = e.let("%s + %s" % z[0])
        rh = e.let("%s - %s" % z[0])
        bins = [None] * h
        for k in range(1, (h + 1) // 2):
            a, b = z[k], z[h - k]
            er = e.let("T(0.5L) * (%s + %s)" % (a[0], b[0]))
            ei = e.let("T(0.5L) * (%s - %s)" % (a[1], b[1]))
            # o = -i (a - conj b), t = (w^k / 2) o, w = exp(-2 pi i k / n)
            o = (e.let("%s + %s" % (a[1], b[1])), e.let("%s - %s" % (b[0], a[0])))
            c, s = cos_sin(k, n)
            t = cmul_const(e, o, c / 2, -s / 2)
            bins[k] = (e.let("%s + %s" % (er, t[0])), e.let("%s + %s" % (ei, t[1])))
            bins[h - k] = (e.let("%s - %s" % (er, t[0])), e.let("%s - %s" % (t[1], ei)))
        if h % 2 == 0:
            bins[h // 2] = (z[h // 2][0], e.let("-" + z[h // 2][1]))
        pairs = bins[1:]
    body = ["template <class T>", "void forward_%d(const T* in, T* out, int format) {" % n]
    body += loads + e.lines
    for i, fmt in enumerate(("perm", "pack", "ccs")):
        i0, ih, ip = places(n, fmt)
        cond = {"perm": "if (format == 56) {", "pack": "} else if (format == 55) {",
                "ccs": "} else {"}[fmt]
        body.append("  " + cond)
        body.append("    out[%d] = %s;" % (i0, r0))
        for k, (re, im) in enumerate(pairs):
            body.append("    out[%d] = %s;" % (ip + 2 * k, re))
            body.append("    out[%d] = %s;" % (ip + 2 * k + 1, im))
        body.append("    out[%d] = %s;" % (ih, rh))
        if fmt == "ccs":
            body.append("    out[1] = T(0);")
            body.append("    out[%d] = T(0);" % (n + 1))
    body += ["  }", "}", ""]
    return body


def inverse(n):
    e = Emitter()
    h = n // 2
    body = ["template <class T>", "void inverse_%d(const T* in, T* out, int format) {" % n]
    body.append("  T r0, rh;" if h == 1 else "  T r0, rh, re[%d], im[%d];" % (h, h))
    for fmt in ("perm", "pack", "ccs"):
        i0, ih, ip = places(n, fmt)
        cond = {"perm": "if (format == 56) {", "pack": "} else if (format == 55) {",
                "ccs": "} else {"}[fmt]
        body.append("  " + cond)
        body.append("    r0 = in[%d];" % i0)
        body.append("    rh = in[%d];" % ih)
        for k in range(1, h):
            body.append("    re[%d] = in[%d];" % (k, ip + 2 * (k - 1)))
            body.append("    im[%d] = in[%d];" % (k, ip + 2 * (k - 1) + 1))
    body.append("  }")
    if n == 2:
        body += ["  out[0] = r0 + rh;", "  out[1] = r0 - rh;", "}", ""]
        return body
    X = [None] + [("re[%d]" % k, "im[%d]" % k) for k in range(1, h)]
    y = [None] * h
    y[0] = (e.let("r0 + rh"), e.let("r0 - rh"))
    for k in range(1, (h + 1) // 2):
        a, b = X[k], X[h - k]
        sr = e.let("%s + %s" % (a[0], b[0]))
        si = e.let("%s - %s" % (a[1], b[1]))
        d = (e.let("%s - %s" % (a[0], b[0])), e.let("%s + %s" % (a[1], b[1])))
        # q = i conj(w^k) B, w = exp(-2 pi i k / n): i exp(2 pi i k / n) = exp(2 pi i (k/n + 1/4))
        c, s = cos_sin(4 * k + n, 4 * n)
        q = cmul_const(e, d, c, s)
        y[k] = (e.let("%s + %s" % (sr, q[0])), e.let("%s + %s" % (si, q[1])))
        y[h - k] = (e.let("%s - %s" % (sr, q[0])), e.let("%s - %s" % (q[1], si)))
    if h % 2 == 0:
        m = X[h // 2]
        y[h // 2] = (e.let("T(2) * %s" % m[0]), e.let("T(-2) * %s" % m[1]))
    out = fft(e, y, 1)
    body += e.lines
    for j in range(h):
        body.append("  out[%d] = %s;" % (2 * j, out[j][0]))
        body.append("  out[%d] = %s;" % (2 * j + 1, out[j][1]))
    body += ["}", ""]
    return body


def main():
    # Longer lines run the half-length line and the recombination in vector registers, which
    # is faster from 32 points on (see the engine's tuning header).
    sizes = [2, 4, 8, 16]
    out = [
        "// Generated at build time by src/dft/gen_real_small.py; edit the generator.",
        "// Straight-line real transforms of 2 to 16 points: the whole input is loaded first, so",
        "// `in` and `out` may be the same array; roots are literals; `format` places the spectrum",
        "// (56 Perm, 55 Pack, anything else CCS). Compiled once per instruction set: the wider",
        "// sets keep more of the values in registers.",
        "#include \"dft/engine_internal.h\"",
        "#include \"service/cpu_features.h\"",
        "",
        "namespace zvx::dft::ZVX_ISA_NS {",
        "namespace {",
        "",
        "// clang-format off",
    ]
    for n in sizes:
        out += forward(n)
        out += inverse(n)
    out.append("// clang-format on")
    out.append("")
    out.append("}  // namespace")
    out.append("")
    out.append("const real_small_table& real_small_kernels() {")
    out.append("  static constexpr real_small_table table{")
    for direction in ("forward", "inverse"):
        for t in ("float", "double"):
            names = ["%s_%d<%s>" % (direction, n, t) for n in sizes]
            out.append("      {%s, %s," % (names[0], names[1]))
            out.append("       %s, %s}," % (names[2], names[3]))
    out[-1] = out[-1].rstrip(",") + "};"
    out.append("  return table;")
    out.append("}")
    out.append("")
    out.append("}  // namespace zvx::dft::ZVX_ISA_NS")
    out.append("")
    out.append("#if ZVX_ISA_LEVEL == 0")
    out.append("namespace zvx::dft {")
    out.append("namespace {")
    out.append("")
    out.append("const real_small_table& chosen() {")
    out.append("  static const real_small_table* const table = select_by_isa(")
    out.append("      &isa_portable::real_small_kernels(), &isa_avx2::real_small_kernels(),")
    out.append("      &isa_avx512::real_small_kernels());")
    out.append("  return *table;")
    out.append("}")
    out.append("")
    out.append("// Slot of a length 2^(j + 1), -1 for any other length.")
    out.append("int slot(int length) {")
    out.append("  for (int j = 0; j < %d; ++j)" % len(sizes))
    out.append("    if (length == 2 << j) return j;")
    out.append("  return -1;")
    out.append("}")
    out.append("")
    out.append("}  // namespace")
    out.append("")
    for direction in ("forward", "inverse"):
        for suffix in ("s", "d"):
            out.append("real_small_%s_fn real_small_%s_%s(int length) {"
                       % (suffix, direction, suffix))
            out.append("  const int j = slot(length);")
            out.append("  return j < 0 ? nullptr : chosen().%s_%s[j];" % (direction, suffix))
            out.append("}")
    out.append("")
    out.append("}  // namespace zvx::dft")
    out.append("#endif")
    text = "\n".join(out) + "\n"
    if len(sys.argv) > 1:
        with open(sys.argv[1], "w") as f:
            f.write(text)
    else:
        sys.stdout.write(text)


if __name__ == "__main__":
    main()
