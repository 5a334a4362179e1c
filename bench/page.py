"""The tables and plots of docs/performance.md."""
import re

import matplotlib
matplotlib.use("svg")
import matplotlib.pyplot as plt

import results

PEERS = (("request", "a request in a running host"), ("life", "a layer's life alone"),
         ("kaehost", "kaehost apply, whole process"), ("sysctl", "sysctl -p (procps)"),
         ("busybox", "busybox sysctl -p"),
         ("systemd", "systemd-sysctl"), ("nothing", "a process that does nothing"))
LAYER, TOOL, GREY = "#1f77b4", "#ff7f0e", "#999999"


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" * len(head)]
    return lines + ["| " + " | ".join(row) + " |" for row in rows]


def budgets_table(rows):
    return table(("", "Budget", "Measured", "Result"),
                 [(title, str(budget), shown, "met" if holds else "missed")
                  for title, budget, shown, holds in rows])


def passes_table(found):
    rows = []
    for output in results.OUTPUTS:
        for name in ("Request", "Snapshot", "Release"):
            run = found.passed(name, output)
            rows.append((name, output, f"{run['floor_us']:.0f}", f"{run['streams_us']:.0f}",
                         f"{run['pass_us']:.0f}", f"{run['streams_ratio']:.3f}",
                         f"{run['own_ratio']:.3f}",
                         f"**{run['ratio']:.3f}** ({run['ratio_q1']:.3f} to {run['ratio_q3']:.3f})"))
    return table(("Pass", "Standard output", "Floor, us", "Streams, us", "Pass, us",
                  "Streams / floor", "Pass / streams", "Pass / floor (quartiles)"),
                 rows)


def profile_table(found):
    return table(("Instructions of a request in user space", "Share"),
                 [(title, f"{share:.0%}") for title, share in found.profile()])


def instructions_table(found):
    counted = found.instructions()
    return table(("Instructions in user space", "Budget", f"Counted ({counted['here']})"),
                 [(title, str(budget), str(count)) for title, budget, count in counted["rows"]])


def memory_table(found):
    layer = found.layer_memory()
    rows = [("a layer", f"{layer['allocations']:.0f}", f"{layer['bytes']:.0f}",
             f"{layer['kept']:.0f}", f"{layer['live']:.0f}", f"{layer['peak']:.0f}")]
    for settings in (0, 1, 10, 57):
        for characters in (7, 100):
            run = found.request_memory(settings, characters)
            rows.append((f"a request (settings: {settings}, characters each: {characters})",
                         f"{run['allocations']:.0f}", f"{run['bytes']:.0f}", f"{run['kept']:.0f}",
                         f"{run['live']:.0f}", f"{run['peak']:.0f}"))
    return table(("", "Allocations", "Bytes allocated", "Blocks kept", "Bytes kept",
                  "Peak, bytes"), rows)


def elements_table(found):
    rows = []
    for kind in ("Known", "Unknown"):
        slope, error = found.slope(kind)
        rows.append((kind.lower(), f"{slope:.1f}", f"{error:.1f}", f"{found.flatness(kind):.2f}"))
    for kind, what in (("Read", "unknown, only reading the file"),
                       ("Apply", "unknown, all of `kaehost apply`")):
        rows.append((what, f"{found.element_time(kind):.1f}", "", ""))
    return table(("Names", "Time per element, ns", "Standard error, ns",
                  "Document of 10^6 / of 10^4"), rows)


def namespaces_table(found):
    rows = []
    for count in results.NAMESPACES:
        run = found.namespaces(count)
        layers, again, shell = (run[f"{way}_ms"] for way in ("layers", "again", "shell"))
        rows.append((str(count), str(run["iterations"]), f"{layers:.1f}", f"{shell:.1f}",
                     f"{shell / layers:.1f}", f"{again:.1f}"))
    return table(("N", "Rounds", "Layers, ms", "Shell loop, ms", "Shell / layers",
                  "Second requests, ms"), rows)


def kaehost_namespaces_table(found):
    rows = []
    for count in results.NAMESPACES:
        run = found.namespaces(count)
        several, shell = run["kaehost_ms"], run["shell_ms"]
        each = run["kaehost_for_one_ms"] * count
        rows.append((str(count), f"{several:.1f}", f"{each:.1f}", f"{each / several:.1f}",
                     f"{shell:.1f}", f"{shell / several:.1f}"))
    return table(("N", "kaehost apply, ms", "N times kaehost apply, ms", "/ kaehost apply",
                  "Shell loop of sysctl, ms", "/ kaehost apply"), rows)


def grouped_namespaces_table(found):
    rows = []
    for count in results.GROUPED_NAMESPACES:
        run = found.grouped_namespaces(count)
        rows.append((str(count), str(run["iterations"]), f"{run['mounts_ms']:.1f}",
                     f"{run['layers_ms']:.1f}", f"{run['again_ms']:.1f}",
                     f"{run['again_ms'] / count:.2f}", f"{run['cold_ms'] / count:.2f}"))
    return table(("N", "Rounds", "Mounts, ms", "Layers, ms", "Second requests, ms",
                  "One second request, ms", "One with cold caches, ms"), rows)


def peers_table(found):
    run = found.one("Peers")
    return table(("", "Wall time, us", "/ sysctl -p", "CPU time, us", "/ sysctl -p"),
                 [(title, f"{run[name + '_us']:.0f}",
                   f"{run[name + '_us'] / run['sysctl_us']:.2f}",
                   f"{run[name + '_cpu_us']:.0f}",
                   f"{run[name + '_cpu_us'] / run['sysctl_cpu_us']:.2f}") for name, title in PEERS])


def loading_table(found):
    run = found.one("Loading")
    size, hardened_size = (found.stripped_size(hardened) for hardened in (False, True))
    code, hardened_code = (found.code_and_data(hardened) for hardened in (False, True))
    return table(("", ""), [("dlopen to plug-in ready, us", f"{run['load_us']:.0f}"),
                            ("dlopen to first layer, us", f"{run['layer_us']:.0f}"),
                            ("stripped file without hardening, bytes", str(size)),
                            ("hardening adds to the file, bytes", str(hardened_size - size)),
                            ("code and data without hardening, bytes", str(code)),
                            ("hardening adds to code and data, bytes", str(hardened_code - code)),
                            ("relocations", str(found.relocations()))])


def options_lines(found):
    return [f"The compiler's options are `{found.options()}` and those of "
            "[hardening.cmake](../hardening.cmake)."]


def plot_documents(found, file):
    figure, axes = plt.subplots(figsize=(7, 4))
    for kind, colour in (("Known", LAYER), ("Unknown", TOOL)):
        points = found.element_times(kind)
        slope, error = found.slope(kind)
        axes.loglog([x for x, _ in points], [y / 1e3 for _, y in points], "o", color=colour,
                    markersize=4, label=f"{kind.lower()} names: {slope:.0f} ± {error:.0f} ns each")
        base = min(y for x, y in points if x == 1)
        axes.loglog(results.SIZES, [(base + slope / 1e3 * x) / 1e3 for x in results.SIZES], "-",
                    color=colour, linewidth=1)
    axes.set_xlabel("child elements of the document")
    axes.set_ylabel("one request, ms")
    axes.set_title("Cost by document size")
    axes.legend(frameon=False)
    axes.grid(True, color="#dddddd")
    save(figure, file)


def plot_peers(found, file):
    run = found.one("Peers")
    names = [title for _, title in reversed(PEERS)]
    times = [run[name + "_us"] / 1e3 for name, _ in reversed(PEERS)]
    colours = [LAYER if name in ("request", "life", "kaehost") else GREY if name == "nothing" else TOOL
               for name, _ in reversed(PEERS)]
    figure, axes = plt.subplots(figsize=(7, 3.2))
    bars = axes.barh(names, times, color=colours)
    axes.bar_label(bars, [f" {time:.2f} ms" for time in times])
    axes.set_xlim(0, max(times) * 1.15)
    axes.set_xlabel("median wall time, ms")
    axes.set_title("The same values, in the same namespace")
    axes.spines[["top", "right"]].set_visible(False)
    save(figure, file)


def save(figure, file):
    figure.tight_layout()
    figure.savefig(file, metadata={"Date": None})
    plt.close(figure)


def write(found, rows, docs):
    plot_documents(found, docs / "pictures" / "documents.svg")
    plot_peers(found, docs / "pictures" / "peers.svg")
    parts = {"machine": [found.machine()], "budgets": budgets_table(rows),
             "passes": passes_table(found), "profile": profile_table(found),
             "instructions": instructions_table(found), "options": options_lines(found),
             "memory": memory_table(found),
             "elements": elements_table(found), "namespaces": namespaces_table(found),
             "grouped-namespaces": grouped_namespaces_table(found),
             "kaehost-namespaces": kaehost_namespaces_table(found),
             "peers": peers_table(found), "loading": loading_table(found)}
    file = docs / "performance.md"
    text = file.read_text()
    for name, lines in parts.items():
        text, count = re.subn(rf"(<!-- {name} -->\n).*?(<!-- end -->)",
                              lambda m: m[1] + "\n" + "\n".join(lines) + "\n" + m[2], text,
                              flags=re.S)
        if count != 1:
            raise SystemExit(f"{file}: found {count} markers for {name}, expected one")
    file.write_text(text)
