"""Where a request spends its instructions in user space, from callgrind's output file."""
import collections
import re

# The functions that the plug-in calls. The first pattern found in the function's name counts.
CALLED = ((r"_filebuf<.*>::open\(", "opening file streams"),
          (r"_filebuf<.*>::close\(", "closing file streams, which writes the values"),
          (r"^(__printf_chk|printf)$", "`printf` of values"),
          (r"__ostream_insert<", "inserting text into streams"),
          (r"ostream::(put|flush)\(", "ending and flushing lines"),
          (r"", "other library code: strings, the map, the host"))
OWN = "the plug-in's own code"


class Names:
    """Only the first use of a name is in full: "(7) printf", later "(7)"."""
    def __init__(self):
        self.known = {}

    def __call__(self, text):
        number, _, name = text.partition(" ")
        return self.known.setdefault(number, name)


def of_plugin(lines):
    """Instructions of the plug-in itself (under None), and of each function that it calls in other
    libraries, including everything that the function calls."""
    objects, functions = Names(), Names()
    costs = collections.Counter()
    here = there = called = ""
    is_call = False
    for line in lines:
        key, _, rest = line.rstrip("\n").partition("=")
        if key == "ob":
            here = there = objects(rest)
        elif key == "cob":
            there = objects(rest)
        elif key in ("fn", "cfn"):
            called = functions(rest)
        elif key == "calls":
            is_call = True
        elif re.match(r"[-+*\d]", line):
            cost = int(line.split()[1])
            if "libkaetcp" in here and not is_call:
                costs[None] += cost
            elif "libkaetcp" in here and "libkaetcp" not in there:
                costs[called] += cost
            is_call, there = False, here
    return costs


def shares(file):
    """Pairs of a title and its share of all instructions."""
    with open(file) as lines:
        costs = of_plugin(lines)
    titles = collections.Counter()
    for name, cost in costs.items():
        titles[OWN if name is None
               else next(title for pattern, title in CALLED if re.search(pattern, name))] += cost
    if len(titles) != len(CALLED) + 1:
        raise SystemExit(f"{file}: some parts of a request are missing: {dict(titles)}")
    return [(title, cost / costs.total()) for title, cost in titles.most_common()]
