"""From runs to figures, and from figures to a table, Markdown or JSON."""

import datetime
import os
import platform
import statistics

from contenders import OURS

NOTES = (
    "Times are medians; those of rsync and cp include `sync -f`, because our run ends flushed. Peak memory is "
    "the largest of all runs and of a program's processes (rsync has three); it can't show less than 8 to 10 MB."
)
HEADINGS = ("Case", "Program", "Median", "Min–max", "CPU", "Peak", "Ours / it", "Target", "Reached")


def machine_facts(volumes, bench, contenders):
    return machine() | {
        "file system": volumes.describe(),
        "program": bench.program,
        "versions": {contender: bench.version(contender) for contender in contenders},
    }


def machine():
    return {
        "date": datetime.datetime.now(datetime.timezone.utc).strftime("%Y-%m-%d %H:%M UTC"),
        "processor": fact("/proc/cpuinfo", "model name") or platform.machine(),
        "cores": len(os.sched_getaffinity(0)),
        "memory": f"{int(fact('/proc/meminfo', 'MemTotal').split()[0]) * 1024 / 1e9:.1f} GB",
        "kernel": f"{platform.system()} {platform.release()}",
    }


def machine_line(facts):
    return "{processor}, {cores} cores, {memory} of memory, {kernel}; {date}.".format_map(facts)


def fact(path, key):
    with open(path, encoding="utf-8") as facts:
        return next((line.split(":", 1)[1].strip() for line in facts if line.startswith(key)), None)


def summarise(case, files, size, runs):
    """All figures of one case as plain values; `runs` has a list of Run for each contender."""
    programs = {}
    for contender, measured in runs.items():
        seconds = [run.seconds for run in measured]
        programs[contender] = {
            "median": statistics.median(seconds),
            "min": min(seconds),
            "max": max(seconds),
            "cpu": statistics.median(run.cpu_seconds for run in measured),
            "peakBytes": max(run.peak_bytes for run in measured),
            "flush": statistics.median(run.flush_seconds for run in measured),
            "runs": [run._asdict() for run in measured],
        }
    ours = programs[OURS]
    checks = [check(f"time / {peer}", ours["median"] / programs[peer]["median"], limit)
              for peer, limit in case.limits.items()]
    if case.memory_limit:
        checks.append(check("peakBytes", ours["peakBytes"], case.memory_limit))
    ratios = {peer: ours["median"] / figures["median"] for peer, figures in programs.items() if peer != OURS}
    totals = {"case": case.name, "place": case.place.name, "files": files, "bytes": size}
    return totals | {"programs": programs, "ratios": ratios, "targets": checks}


def check(what, value, limit):
    return {"what": what, "value": value, "limit": limit, "reached": value <= limit}


def rows(result):
    targets = {target["what"]: target for target in result["targets"]}
    for program, figures in result["programs"].items():
        target = targets.get("peakBytes" if program == OURS else f"time / {program}")
        limit = ""
        if target:
            limit = f"≤ {megabytes(target['limit'])}" if program == OURS else f"≤ {target['limit']:.2f}"
        yield (
            result["case"] if program == OURS else "",
            program,
            f"{figures['median']:.3f} s",
            f"{figures['min']:.3f}–{figures['max']:.3f}",
            f"{figures['cpu']:.3f} s",
            megabytes(figures["peakBytes"]),
            "" if program == OURS else f"{result['ratios'][program]:.2f}",
            limit,
            ("yes" if target["reached"] else "no") if target else "",
        )


def megabytes(count):
    return f"{count / 1e6:.0f} MB"


def aligned(headings, lines):
    lines = [headings, *lines]
    widths = [max(len(line[column]) for line in lines) for column in range(len(headings))]
    padded = [[cell.ljust(width) for cell, width in zip(line, widths)] for line in lines]
    return "\n".join("  ".join(cells).rstrip() for cells in padded)


def markdown(headings, lines):
    """With the figures to the right."""
    is_figure = [any(line[column].lstrip("≤ ")[:1].isdigit() for line in lines) for column in range(len(headings))]
    rule = ["---:" if figure else "---" for figure in is_figure]
    return "\n".join("| " + " | ".join(line) + " |" for line in [headings, rule, *lines])


def remarks(results, facts, scale, runs):
    """The lines that go with a table: what was measured, on what, and what to know when reading it."""
    if scale != 1:
        yield f"Scaled to {scale:g} of the full size: the targets are meant for the full size only."
    for result in results:
        flush = result["programs"][OURS]["flush"]
        yield (
            f"{result['case']}: {result['bytes'] / 1e6:,.1f} MB, number of files {result['files']:,}; "
            f"{runs} runs of each, in turn; after ours `sync -f` took {flush:.3f} s (not counted). "
            f"The backup is on {result['place']}."
        )
    yield NOTES
    yield machine_line(facts)
    yield f"File system: {facts['file system']}."
    yield "Versions: " + "; ".join(f"{name}: {version}" for name, version in facts["versions"].items()) + "."


def render(results, facts, scale, runs, is_markdown):
    table = (markdown if is_markdown else aligned)(HEADINGS, [row for result in results for row in rows(result)])
    mark = "- " if is_markdown else ""
    return "\n".join([table, "", *(mark + line for line in remarks(results, facts, scale, runs))])
