"""The results of the benchmarks, from the files that ./measure writes."""
import json
import math
import pathlib
import platform
import re
import shutil
import statistics
import subprocess
import tempfile

import callgrind

OUTPUTS = ("/dev/null", "pipe", "file")  # as bench/output.h numbers them
SIZES = [10**n for n in range(7)]
NAMESPACES = [10**n for n in range(4)]
GROUPED_NAMESPACES = NAMESPACES + [5000]


class Results:
    def __init__(self, folder, build, plain_build, calls_differ):
        self.folder = pathlib.Path(folder)
        self.build = pathlib.Path(build)
        self.plain_build = pathlib.Path(plain_build)
        self.calls_differ = calls_differ
        self.runs = {}  # from a name, without measurement settings, to a list of runs
        self.load = 0.0  # the highest load average at the start of a benchmark
        for file in sorted(self.folder.glob("*.json")):
            found = json.loads(file.read_text())
            if "benchmarks" not in found:
                continue  # the instructions
            self.load = max(self.load, found["context"]["load_avg"][0])
            for run in found["benchmarks"]:
                if run.get("run_type") != "aggregate":
                    name = re.sub(r"/(iterations|repeats|min_time|manual_time|real_time)[^/]*", "",
                                  run["name"])
                    self.runs.setdefault(name, []).append(run)

    def instructions(self):
        """What tests/instructions/count has counted."""
        return json.loads((self.folder / "instructions.json").read_text())

    def one(self, name):
        return self.runs[name][0]

    def passed(self, name, output):
        """A pass of a layer: times in microseconds, and ratios."""
        return self.one(f"{name}/output:{OUTPUTS.index(output)}")

    def profile(self):
        """The parts of a request in user space: pairs of title and share of the instructions."""
        return callgrind.shares(self.folder / "request.callgrind")

    def element_times(self, kind):
        """Pairs of document size and time of one request in microseconds."""
        return [(size, run["real_time"]) for size in SIZES
                for run in self.runs[f"{kind}Elements/{size}"]]

    def slope(self, kind):
        """Nanoseconds that an element adds, and the standard error. Fits a line to all times, with
        weights so that relative errors count equally."""
        points = [(size, time, 1 / time**2) for size, time in self.element_times(kind)]
        weight = sum(w for _, _, w in points)
        mean_x = sum(w * x for x, _, w in points) / weight
        mean_y = sum(w * y for _, y, w in points) / weight
        spread = sum(w * (x - mean_x)**2 for x, _, w in points)
        slope = sum(w * (x - mean_x) * (y - mean_y) for x, y, w in points) / spread
        residual = sum(w * (y - mean_y - slope * (x - mean_x))**2 for x, y, w in points)
        error = math.sqrt(residual / (len(points) - 2) / spread)
        return slope * 1e3, error * 1e3

    def flatness(self, kind):
        """Time per element in a document of a million, divided by that in one of ten thousand."""
        def each(size):
            empty = statistics.median(r["real_time"] for r in self.runs[f"{kind}Elements/1"])
            time = statistics.median(r["real_time"] for r in self.runs[f"{kind}Elements/{size}"])
            return (time - empty) / size
        return each(10**6) / each(10**4)

    def element_time(self, kind):
        """Nanoseconds that an element of a document adds to what is timed for none and for a million."""
        none, all_of_them = (statistics.median(r["real_time"] for r in self.runs[f"{kind}Elements/{size}"])
                             for size in (0, 10**6))
        return (all_of_them - none) / 10**6 * 1e3

    def element_memory(self):
        return self.one("DocumentMemory/1000000")["live"] / 10**6

    def layer_memory(self):
        return self.one("LayerMemory")

    def request_memory(self, settings, characters):
        return self.one(f"RequestMemory/settings:{settings}/characters:{characters}")

    def namespaces(self, count):
        """Times in milliseconds."""
        return self.one(f"Namespaces/count:{count}")

    def grouped_namespaces(self, count):
        """With a proc file system for each group. Times in milliseconds."""
        return self.one(f"NamespacesInGroups/count:{count}")

    def stripped_size(self, hardened):
        library = (self.build if hardened else self.plain_build) / "libkaetcp.so"
        with tempfile.NamedTemporaryFile() as stripped:
            shutil.copy(library, stripped.name)
            subprocess.run(["strip", stripped.name], check=True)
            return pathlib.Path(stripped.name).stat().st_size

    def code_and_data(self, hardened):
        """Their bytes, which are fewer than the file's: segments begin on pages of their own."""
        library = (self.build if hardened else self.plain_build) / "libkaetcp.so"
        listing = subprocess.run(["size", library], check=True, capture_output=True, text=True)
        return int(listing.stdout.splitlines()[1].split()[3])

    def relocations(self):
        listing = subprocess.run(["readelf", "-rW", self.build / "libkaetcp.so"], check=True,
                                 capture_output=True, text=True).stdout
        return len(re.findall(r" R_\w+", listing))

    def options(self):
        """Of the compiler."""
        cache = (self.build / "CMakeCache.txt").read_text()
        return re.search(r"^CMAKE_CXX_FLAGS_RELEASE:\w+=(.*)", cache, re.M)[1]

    def machine(self):
        model = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
        memory = re.search(r"MemTotal: *(\d+)", pathlib.Path("/proc/meminfo").read_text())
        count = len(re.findall(r"^processor", pathlib.Path("/proc/cpuinfo").read_text(), re.M))
        return (f"{model[1] if model else platform.machine()}, {count} cores, "
                f"{int(memory[1]) / 2**20:.0f} GiB; Linux {platform.release()}; "
                f"{self.instructions()['here']}; load average at most {self.load:.1f}")
