#!/usr/bin/python3
"""Prints budgets and measurements. --page also writes the tables and plots of docs/performance.md.

    bench/report.py RESULTS LIBRARY CALLS_DIFFER [--page]

CALLS_DIFFER is the exit status of the test that counts system calls, 0 or 1.

The exit status is 1 if a budget is missed.
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
        yield row(f"{name} / floor", 1.10, run["ratio"],
                  f"{run['ratio']:.3f} ({run['ratio_q1']:.3f} to {run['ratio_q3']:.3f})")
    yield row("Unneeded system calls", 0, found.calls_differ,
              "some: see above" if found.calls_differ else "0")
    live = found.layer_memory()["live"]
    yield row("Heap of a layer, bytes", 32 * 1024, live, f"{live:.0f}")
    none, all_short, all_long = (found.request_memory(*document) for document in
                                 ((0, 7), (57, 7), (57, 100)))
    more = all_short["allocations"] - none["allocations"]
    yield row("Extra allocations for 57 short values", 0, more, f"{more:.0f}")
    kept = all_long["kept"] - 57
    yield row("Extra blocks for 57 long values, beyond one each", 0, kept, f"{kept:.0f}")
    for kind in ("Known", "Unknown"):
        flat = found.flatness(kind)
        yield row(f"Time per {kind.lower()} element, document of 10^6 / of 10^4", 1.25, flat,
                  f"{flat:.2f}")
    peers = found.one("Peers")
    ratio = peers["kaehost_us"] / peers["sysctl_us"]
    yield row("kaehost apply / sysctl -p", 3.0, ratio, f"{ratio:.2f}")


def main():
    folder, library, calls_differ = sys.argv[1:4]
    found = results.Results(folder, library, int(calls_differ))
    rows = list(budgets(found))
    print(found.machine())
    print(f"{'':52} {'budget':>8}  measured")
    for title, budget, shown, holds in rows:
        print(f"{title:52} {budget:>8}  {shown}{'' if holds else '   MISSED'}")
    if "--page" in sys.argv:
        page.write(found, rows, pathlib.Path(__file__).resolve().parents[1] / "docs")
    return 0 if all(holds for *_, holds in rows) else 1


if __name__ == "__main__":
    sys.exit(main())
