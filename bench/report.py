#!/usr/bin/python3
"""Prints budgets and measurements. --page also writes the tables and plots of docs/performance.md.

    bench/report.py RESULTS BUILD PLAIN_BUILD CALLS_DIFFER [--page]

PLAIN_BUILD is a build without hardening. CALLS_DIFFER is the exit status of the test that counts system calls, 0 or 1.

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

    for name, budget in (("Request", 1.03), ("Snapshot", 1.12), ("Release", 1.03)):
        run = found.passed(name, "/dev/null")
        yield row(f"{name} / streams", budget, run["own_ratio"],
                  f"{run['own_ratio']:.3f} ({run['own_ratio_q1']:.3f} to {run['own_ratio_q3']:.3f})")
    yield row("Unneeded system calls", 0, found.calls_differ,
              "some: see above" if found.calls_differ else "0")
    counted = found.instructions()
    if counted["here"] == counted["made_for"]:
        for title, budget, count in counted["rows"]:
            margin = counted["margin"]
            within = budget < count <= budget * (1 + margin)
            yield row(f"Instructions: {title}", budget, count / (1 + margin),
                      f"{count} (within the margin of {margin:.0%})" if within else f"{count}")
    else:
        print(f"The budgets of instructions are for {counted['made_for']}.")
    yield row("Relocations", 185, found.relocations(), str(found.relocations()))
    plain = found.stripped_size(hardened=False)
    yield row("Stripped size before hardening, bytes", 48000, plain, str(plain))
    live = found.layer_memory()["live"]
    yield row("Heap of a layer, bytes", 32 * 1024, live, f"{live:.0f}")
    none, all_short, all_long = (found.request_memory(*document) for document in
                                 ((0, 7), (57, 7), (57, 100)))
    yield row("Heap traffic of a request that names nothing, bytes", 32 * 1024, none["bytes"],
              f"{none['bytes']:.0f}")
    more = all_short["allocations"] - none["allocations"]
    yield row("Extra allocations for 57 short values", 0, more, f"{more:.0f}")
    kept = all_long["kept"] - 57
    yield row("Extra blocks for 57 long values, beyond one each", 0, kept, f"{kept:.0f}")
    element = found.element_memory()
    yield row("Heap of an element of a document, with its text, bytes", 84, element, f"{element:.1f}")
    for kind in ("Known", "Unknown"):
        flat = found.flatness(kind)
        yield row(f"Time per {kind.lower()} element, document of 10^6 / of 10^4", 1.25, flat,
                  f"{flat:.2f}")
    one, thousand = (found.grouped_namespaces(count)["again_ms"] / count for count in (1, 1000))
    yield row("A request to each of 1,000 namespaces / to one", 1.3, thousand / one,
              f"{thousand / one:.2f}")
    run = found.namespaces(1000)
    part = run["kaehost_ms"] / run["shell_ms"]
    yield row("kaehost apply to 1,000 namespaces / a shell loop of sysctl", 0.8, part, f"{part:.2f}")
    peers = found.one("Peers")
    ratio = peers["kaehost_cpu_us"] / peers["life_cpu_us"]
    yield row("CPU time of kaehost apply / of a layer's life alone", 2, ratio, f"{ratio:.2f}")


def main():
    folder, build, plain_build, calls_differ = sys.argv[1:5]
    found = results.Results(folder, build, plain_build, int(calls_differ))
    rows = list(budgets(found))
    print(found.machine())
    print(f"{'':60} {'budget':>8}  measured")
    for title, budget, shown, holds in rows:
        print(f"{title:60} {budget:>8}  {shown}{'' if holds else '   MISSED'}")
    if "--page" in sys.argv:
        page.write(found, rows, pathlib.Path(__file__).resolve().parents[1] / "docs")
    return 0 if all(holds for *_, holds in rows) else 1


if __name__ == "__main__":
    sys.exit(main())
