#!/usr/bin/python3
"""Side-by-side table of the benchmark programs' JSON results (see scripts/bench.sh).

A case <Workload>/QARN is paired with every <Workload>/<Peer> of the same program, and
<Workload>/QARN_<v> with <Workload>/<Peer>_<v>; every other case is listed alone. A case's
figure is the median over its repetitions of items per second when it counts items, else of its
real time per iteration. The ratio is the peer's time over QARN's time (QARN's rate over the
peer's): above 1, QARN is faster.

Prints the table of the programs named on the command line, and rewrites the Markdown file with
one section per program that has results, keeping the sections of programs without results as
they were.
"""

import argparse
import json
import os
import platform
import re
import subprocess
import sys

OURS = "QARN"
RATIO_HEADER = "ratio (peer time / QARN time; above 1: QARN faster)"
SECTION = re.compile(r"<!-- bench:(\S+) -->\n.*?<!-- /bench:\1 -->\n", re.S)
TIME_UNITS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}


class Figure:
    """A rate (items per second) or a time per iteration (seconds)."""

    def __init__(self, entry):
        self.label = entry.get("label", "")
        if "items_per_second" in entry:
            self.rate = entry["items_per_second"]
            self.seconds = None
        else:
            self.rate = None
            self.seconds = entry["real_time"] * TIME_UNITS[entry["time_unit"]]

    def text(self):
        if self.rate is not None:
            unit = (" " + self.label if self.label else "") + "/s"
            for scale, prefix in ((1e9, "G"), (1e6, "M"), (1e3, "k")):
                if self.rate >= scale:
                    return "%.3g %s%s" % (self.rate / scale, prefix, unit)
            return "%.3g%s" % (self.rate, unit)
        for scale, unit in ((1.0, "s"), (1e-3, "ms"), (1e-6, "us")):
            if self.seconds >= scale:
                return "%.3g %s" % (self.seconds / scale, unit)
        return "%.3g ns" % (self.seconds / 1e-9)

    def speed(self):
        """Larger is faster: a rate, or the inverse of a time."""
        return self.rate if self.rate is not None else 1.0 / self.seconds


def case_name(run_name):
    """The name without the suffixes the benchmark library adds (repeats:3, manual_time, ...)."""
    parts = run_name.split("/")
    while len(parts) > 1 and (":" in parts[-1] or parts[-1] in ("manual_time", "real_time")):
        parts.pop()
    return "/".join(parts)


def load_figures(path):
    """(context, {case name: Figure}) of one program's JSON output, medians where repeated."""
    with open(path) as f:
        data = json.load(f)
    medians, singles = {}, {}
    for entry in data.get("benchmarks", []):
        if entry.get("error_occurred"):
            continue
        name = case_name(entry.get("run_name", entry["name"]))
        if entry.get("run_type") == "aggregate":
            if entry.get("aggregate_name") == "median":
                medians[name] = Figure(entry)
        else:
            singles.setdefault(name, Figure(entry))
    singles.update(medians)
    return data.get("context", {}), singles


def split_side(side):
    """(party, variant) of a case's side: QARN_fast gives (QARN, fast)."""
    party, _, variant = side.partition("_")
    return party, variant


def rows_of(figures):
    """Table rows (workload, peer, peer figure, QARN figure, ratio), workloads in order."""
    workloads = {}
    for name, figure in figures.items():
        workload, _, side = name.partition("/")
        workloads.setdefault(workload, []).append((side, figure))
    rows = []
    for workload, sides in workloads.items():
        ours = {}
        for side, figure in sides:
            party, variant = split_side(side)
            if party == OURS:
                ours[variant] = figure
        if not ours:
            # No case of the library: peers alone, and cases of other names (BM_Query,
            # BM_Solve/1000) alone under their whole names.
            for side, figure in sides:
                if re.fullmatch(r"[A-Za-z][A-Za-z0-9]*(_\w+)?", side):
                    rows.append((workload, side, figure.text(), "", ""))
                else:
                    rows.append((workload + ("/" + side if side else ""), "", "", figure.text(), ""))
            continue
        paired = set()
        for side, figure in sides:
            party, variant = split_side(side)
            if party == OURS:
                continue
            title = workload + ("/" + variant if variant else "")
            mine = ours.get(variant)
            if mine is None:
                rows.append((workload, side, figure.text(), "", ""))
                continue
            paired.add(variant)
            rows.append((title, party, figure.text(), mine.text(),
                         "%.2f" % (mine.speed() / figure.speed())))
        for variant, figure in ours.items():
            if variant not in paired:
                rows.append((workload + ("/" + variant if variant else ""), "", "", figure.text(), ""))
    return rows


def markdown_table(rows):
    header = ("workload", "peer", "peer figure", "QARN figure", RATIO_HEADER)
    lines = ["| " + " | ".join(header) + " |", "|" + "---|" * len(header)]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def text_table(rows):
    header = ("workload", "peer", "peer figure", "QARN figure", "ratio")
    widths = [max(len(r[i]) for r in [header] + rows) for i in range(len(header))]
    lines = ["  ".join(c.ljust(w) for c, w in zip(r, widths)).rstrip() for r in [header] + rows]
    return "\n".join(lines) + "\n"


def command_output(command):
    try:
        return subprocess.run(command, capture_output=True, text=True, check=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return ""


def machine():
    model = ""
    with open("/proc/cpuinfo") as f:
        for line in f:
            if line.startswith("model name"):
                model = line.split(":", 1)[1].strip()
                break
    memory = ""
    with open("/proc/meminfo") as f:
        for line in f:
            if line.startswith("MemTotal:"):
                memory = ", %.0f GB of memory" % (int(line.split()[1]) / 1024 / 1024)
    return "%s, %d cores%s, %s %s" % (model or platform.processor(), os.cpu_count(), memory,
                                     platform.system(), platform.release())


def library_flags(build):
    """The compile flags of one library source in the build's compilation database."""
    try:
        with open(os.path.join(build, "compile_commands.json")) as f:
            commands = json.load(f)
    except OSError:
        return ""
    for command in commands:
        if "/src/" in command["file"]:
            words = command["command"].split()
            keep = [w for w in words[1:] if w.startswith(("-O", "-f", "-m", "-std", "-D"))]
            return " ".join(keep)
    return ""


def peer_versions():
    packages = ["libembree-dev", "libnanoflann-dev", "libtinyobjloader-dev", "libopenmesh-dev",
                "libcgal-dev", "libeigen3-dev", "libbenchmark-dev"]
    versions = []
    for package in packages:
        version = command_output(["dpkg-query", "-W", "-f=${Version}", package])
        if version:
            versions.append("%s %s" % (package, version))
    return ", ".join(versions)


def section(program, context, rows):
    load = context.get("load_avg")
    when = context.get("date", "")
    note = "Measured %s" % when
    if load:
        note += ", load average %.2f on %d cores" % (load[0], context.get("num_cpus", 0))
    return ("<!-- bench:%s -->\n## %s\n\n%s.\n\n%s<!-- /bench:%s -->\n"
            % (program, program, note, markdown_table(rows), program))


def write_markdown(path, sections, build):
    kept = {}
    if os.path.exists(path):
        with open(path) as f:
            for match in SECTION.finditer(f.read()):
                kept[match.group(1)] = match.group(0)
    kept.update(sections)
    compiler = command_output(["c++", "--version"]).splitlines()
    text = [
        "# Benchmarks\n",
        "Written by `scripts/bench.sh` (run it to refresh; `scripts/bench.sh <program>` refreshes "
        "one section). Each program builds one input, checks that the library's answers agree "
        "with the peer's, and times both in the same process, their repetitions interleaved. "
        "Figures are medians of the repetitions: items per second where a case counts items, "
        "else time per iteration. The ratio is the peer's time over the library's time; above 1, "
        "the library is faster. Wall-clock figures depend on what else the machine runs: see each "
        "section's load average.\n",
        "- Machine: %s" % machine(),
        "- Compiler: %s" % (compiler[0] if compiler else "unknown"),
        "- Library flags: `%s`" % library_flags(build),
        "- Peers: %s\n" % peer_versions(),
    ]
    text += [kept[p] for p in sorted(kept)]
    with open(path, "w") as f:
        f.write("\n".join(text))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--results", required=True, help="folder of <program>.json files")
    parser.add_argument("--build", required=True, help="the benchmarks' build folder")
    parser.add_argument("--markdown", required=True, help="the Markdown file to rewrite")
    parser.add_argument("programs", nargs="+", help="the programs whose table is printed")
    arguments = parser.parse_args()

    sections = {}
    for file in sorted(os.listdir(arguments.results)):
        if not file.endswith(".json"):
            continue
        program = file[: -len(".json")]
        context, figures = load_figures(os.path.join(arguments.results, file))
        rows = rows_of(figures)
        sections[program] = section(program, context, rows)
        if program in arguments.programs:
            print("\n== %s\n%s" % (program, text_table(rows)))
    missing = [p for p in arguments.programs if p not in sections]
    if missing:
        sys.exit("bench_table.py: no results for " + ", ".join(missing))
    print("Ratio: peer time / QARN time (above 1: QARN faster).")
    write_markdown(arguments.markdown, sections, arguments.build)


if __name__ == "__main__":
    main()
