#!/usr/bin/python3
"""Prints budgets and what was measured; with --page, writes docs/performance.md's tables and plots.

    bench/report.py RESULTS LIBRARY SURPLUS_CALLS [--page]

Ends with 1 when a budget is missed.
"""
import pathlib
import sys

import page
import results


def budgets(found):
    """Rows of title, budget, measured, and whether it holds."""
    def row(title, budget, measured, shown):
        return title, budget, shown, measured <= budget

    for name in ("Request", "Snapshot", "Release"):
        run = found.passed(name, "/dev/null")
        yield row(f"{name} / its floor", 1.10, run["ratio"],
                  f"{run['ratio']:.3f} ({run['ratio_q1']:.3f} to {run['ratio_q3']:.3f})")
    yield row("System calls beyond those needed", 0, found.surplus_calls, str(found.surplus_calls))
    live = found.layer_memory()["live"]
    yield row("Heap of a layer, bytes", 32 * 1024, live, f"{live:.0f}")
    few, many = (found.request_memory(k, 7)["allocations"] for k in (1, 57))
    yield row("Allocations that grow with the settings named", 0, many - few, f"{many - few:.0f}")
    for kind in ("Known", "Unknown"):
        flat = found.flatness(kind)
        yield row(f"An element among 10^6 / among 10^4, {kind.lower()} names", 1.25, flat,
                  f"{flat:.2f}")
    peers = found.one("Peers")
    ratio = peers["kaehost_us"] / peers["sysctl_us"]
    yield row("kaehost apply / sysctl -p", 3.0, ratio, f"{ratio:.2f}")


def main():
    folder, library, surplus = sys.argv[1:4]
    found = results.Results(folder, library, int(surplus))
    rows = list(budgets(found))
    print(f"{'':52} {'budget':>8}  measured")
    for title, budget, shown, holds in rows:
        print(f"{title:52} {budget:>8}  {shown}{'' if holds else '   MISSED'}")
    if "--page" in sys.argv:
        page.write(found, rows, pathlib.Path(__file__).resolve().parents[1] / "docs")
    return 0 if all(holds for *_, holds in rows) else 1


if __name__ == "__main__":
    sys.exit(main())
