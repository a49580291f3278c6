#!/usr/bin/env python3
"""Renders the grid written by examples/poisson_picture.c into docs/poisson_solution.png.

    build/release/examples/zvx_poisson_picture /tmp/u.txt
    /usr/bin/python3 scripts/render_poisson.py /tmp/u.txt docs/poisson_solution.png

Needs python3-matplotlib (Debian), hence the system interpreter. The picture is made once and
committed; nothing at build or test time runs this script.
"""
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: render_poisson.py GRID.txt OUT.png")
    u = np.loadtxt(sys.argv[1])
    ny, nx = u.shape[0] - 1, u.shape[1] - 1
    x = np.linspace(0.0, 1.0, nx + 1)
    y = np.linspace(0.0, 1.0, ny + 1)
    limit = np.abs(u).max()
    fig, ax = plt.subplots(figsize=(6.4, 5.4), dpi=100)
    image = ax.imshow(u, origin="lower", extent=(0, 1, 0, 1), cmap="RdBu_r", vmin=-limit,
                      vmax=limit, interpolation="bilinear")
    ax.contour(x, y, u, levels=np.linspace(-limit, limit, 25), colors="k", linewidths=0.4)
    ax.set_xlabel("x")
    ax.set_ylabel("y")
    ax.set_title(f"-\u0394u = f on {nx} x {ny} intervals: two opposite charges,\n"
                 "sides grounded, lid at u = sin(\u03c0x)", fontsize=10)
    fig.colorbar(image, ax=ax, label="u")
    fig.tight_layout()
    fig.savefig(sys.argv[2])


if __name__ == "__main__":
    main()
