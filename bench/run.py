#!/usr/bin/env python3
"""Whole-process benchmark of xlate45 against a general-purpose XML round trip.

Normally started through bench/run.sh, which installs the packages and builds
the programs first. For each document size it runs, alternating and in the
same run, five commands on the same 4.0 document and one on its conversion:

  xlate45   xlate45 DOC OUT -q                   (the product)
  pugixml   pugixml_roundtrip DOC OUT            (load, indented save: the reference)
  xmllint   xmllint --format --output OUT DOC
  floor     io_floor DOC OUT                     (read, write temp, fsync, rename)
  report    nbconf report DOC OUT                (the same reading, migration and fix-ups,
                                                  in memory, with the findings; writes nothing)
  downgrade nbconf downgrade -q DOC45 OUT        (the way back; DOC45 is xlate45's
                                                  output for DOC, made once per size)

one warm-up round, then --runs timed rounds. Each command runs under
bench_measure, which reports wall time and peak resident memory (wait4). The
table gives medians of the wall times, the ratios xlate45/pugixml,
xlate45/floor, report/xlate45 and downgrade/xlate45, and the largest peak
memory seen divided by the input size (the converted document's size for the
downgrade). The report's exit status is its verdict (0, 1 or 3).

Every command writes into the same directory on every round and replaces its
own previous output there, as an administrator's repeated run would. For
xlate45 that means each timed run finds its target in place and so also
re-makes the ".previous" link (removing the one before); its lock file stays.
The directory is emptied before each size and after it. NBHOME points into the
output directory, where no etc/<server> exists, so no index file is written
outside it.
"""

import argparse
import json
import os
import shutil
import statistics
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PROGRAMS = ("xlate45", "pugixml", "xmllint", "floor", "report", "downgrade")
# Exit statuses that are a completed run; the report's is its verdict.
COMPLETED = {"report": (0, 1, 3)}


def parse_args():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--sizes", default="1,10,100",
                        help="generator scales, comma-separated (1 is about 1 MB); default 1,10,100")
    parser.add_argument("--runs", type=int, default=5, help="timed rounds per size (default 5)")
    parser.add_argument("--build-dir", type=Path, default=ROOT / "build" / "bench")
    parser.add_argument("--xlate45", type=Path, default=None,
                        help="the xlate45 to measure (default: the one in --build-dir), e.g. an older build")
    parser.add_argument("--nbconf", type=Path, default=None,
                        help="the nbconf whose report and downgrade are measured (default: the one in --build-dir)")
    parser.add_argument("--generator", type=Path,
                        default=ROOT.parent / "shared" / "bench" / "gen_large40.py")
    args = parser.parse_args()
    if args.xlate45 is None:
        args.xlate45 = args.build_dir / "xlate45"
    if args.nbconf is None:
        args.nbconf = args.build_dir / "nbconf"
    try:
        args.sizes = [int(s) for s in args.sizes.split(",") if s]
    except ValueError:
        parser.error("--sizes takes whole numbers separated by commas")
    if not args.sizes or min(args.sizes) < 1 or args.runs < 1:
        parser.error("--sizes and --runs must be positive")
    return args


def note(text):
    print(text, file=sys.stderr, flush=True)


def document(args, scale):
    """The generated document of this scale, made once and cached."""
    docs = args.build_dir / "docs"
    docs.mkdir(parents=True, exist_ok=True)
    path = docs / f"large40_seed1_scale{scale}.conf"
    if not path.exists():
        if not args.generator.exists():
            sys.exit(f"bench: generator {args.generator} not found "
                     "(the shared material is expected beside the repository)")
        note(f"generating {path.name} ...")
        part = path.with_suffix(".part")
        with open(part, "wb") as out:
            subprocess.run([sys.executable, str(args.generator), "--seed", "1", "--scale", str(scale)],
                           stdout=out, check=True)
        part.rename(path)
    return path


def commands(args, doc, converted, out):
    bench = args.build_dir / "bench"
    return {
        "downgrade": [str(args.nbconf), "downgrade", "-q", str(converted), str(out / "downgrade.conf")],
        "xlate45": [str(args.xlate45), str(doc), str(out / "xlate45.conf"), "-q"],
        "pugixml": [str(bench / "pugixml_roundtrip"), str(doc), str(out / "pugixml.xml")],
        "xmllint": ["xmllint", "--format", "--output", str(out / "xmllint.xml"), str(doc)],
        "floor": [str(bench / "io_floor"), str(doc), str(out / "floor.xml")],
        "report": [str(args.nbconf), "report", str(doc), str(out / "xlate45.conf")],
    }


def measure(args, command, env):
    """(wall seconds, peak bytes, exit status, standard error) of one run."""
    done = subprocess.run([str(args.build_dir / "bench" / "bench_measure")] + command,
                          capture_output=True, text=True, env=env)
    fields = dict(item.split("=") for item in done.stdout.split())
    if done.returncode != 0 or not {"wall_us", "maxrss_kb", "status"} <= fields.keys():
        sys.exit(f"bench: bench_measure failed on {command[0]}: {done.stderr.strip()}")
    return (int(fields["wall_us"]) / 1e6, int(fields["maxrss_kb"]) * 1024, int(fields["status"]),
            done.stderr.strip())


def run_size(args, scale):
    doc = document(args, scale)
    size = doc.stat().st_size
    out = args.build_dir / "out"
    shutil.rmtree(out, ignore_errors=True)
    out.mkdir(parents=True)
    env = dict(os.environ, NBHOME=str(out / "home"))
    converted = args.build_dir / "converted" / f"large45_seed1_scale{scale}.conf"
    converted.parent.mkdir(parents=True, exist_ok=True)
    subprocess.run([str(args.xlate45), str(doc), str(converted), "-q"], env=env, check=True)
    cmds = commands(args, doc, converted, out)
    walls = {name: [] for name in PROGRAMS}
    peaks = {name: [] for name in PROGRAMS}
    failed = {}
    note(f"scale {scale}: {size / 1e6:.1f} MB, warm-up and {args.runs} rounds ...")
    for round_number in range(args.runs + 1):
        for name in PROGRAMS:
            if name in failed:
                continue
            wall, peak, status, errors = measure(args, cmds[name], env)
            if status not in COMPLETED.get(name, (0,)):
                failed[name] = (status, errors.splitlines()[-1] if errors else "")
                continue
            if round_number > 0:  # round 0 is the warm-up
                walls[name].append(wall)
                peaks[name].append(peak)
    shutil.rmtree(out, ignore_errors=True)
    return {
        "scale": scale,
        "bytes": size,
        "converted_bytes": converted.stat().st_size,
        "wall_s": {n: statistics.median(w) for n, w in walls.items() if w and n not in failed},
        "peak_bytes": {n: max(p) for n, p in peaks.items() if p and n not in failed},
        "runs": {n: walls[n] for n in PROGRAMS},
        "failed": failed,
    }


def ratio(a, b):
    return f"{a / b:.2f}" if a is not None and b else "n/a"


def millis(value, failure):
    if failure:
        return f"exit {failure[0]}"
    return f"{value * 1e3:.1f}" if value is not None else "n/a"


def report(args, results):
    load = os.getloadavg()
    cpu = next((line.split(":", 1)[1].strip() for line in open("/proc/cpuinfo")
                if line.startswith("model name")), "unknown processor")
    print(f"\n{os.cpu_count()} x {cpu}")
    print(f"wall: median of {args.runs} runs after a warm-up, the six commands alternating; "
          f"peak: largest resident set / input size. Load average at the end {load[0]:.2f}.")
    if args.runs < 5:
        print("(fewer than 5 runs: a quick look, not a figure to quote)")
    print()
    print("| document | xlate45 ms | pugixml ms | xmllint ms | floor ms | report ms | downgrade ms "
          "| xlate45 / pugixml | xlate45 / floor | report / xlate45 | downgrade / xlate45 | xlate45 MB/s "
          "| peak / input: xlate45 | pugixml | xmllint | floor | report | downgrade |")
    print("|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|")
    for r in results:
        wall, peak, mb = r["wall_s"], r["peak_bytes"], r["bytes"] / 1e6
        x = wall.get("xlate45")
        cells = [f"{mb:.1f} MB"] + [millis(wall.get(n), r["failed"].get(n)) for n in PROGRAMS]
        cells += [ratio(x, wall.get("pugixml")), ratio(x, wall.get("floor")), ratio(wall.get("report"), x),
                  ratio(wall.get("downgrade"), x),
                  f"{mb / x:.0f}" if x else "n/a"]
        # The way back reads the converted document: its peak is against that one's size.
        cells += [ratio(peak.get(n), r["converted_bytes"] if n == "downgrade" else r["bytes"]) for n in PROGRAMS]
        print("| " + " | ".join(cells) + " |")
    print()
    for r in results:
        for name, (status, last_line) in r["failed"].items():
            print(f"scale {r['scale']}: {name} exited with status {status}, so it has no figure. "
                  f"Its last message: {last_line or '(none)'}")
            if name == "xlate45" and status == 5:
                print("  (status 5 is a conversion failure; a build without the conversion pipeline "
                      "reads its input and stops with it)")
    for r in results:
        x = r["wall_s"].get("xlate45")
        if x is None:
            continue
        checks = []
        if r["scale"] >= 10 and "pugixml" in r["wall_s"]:
            checks.append(("wall <= 2.0 x pugixml", x <= 2.0 * r["wall_s"]["pugixml"]))
        if r["scale"] == 1:
            checks.append(("wall < 50 ms", x < 0.050))
        if r["scale"] >= 10:
            checks.append(("peak <= 3.0 x input", r["peak_bytes"]["xlate45"] <= 3.0 * r["bytes"]))
        if r["scale"] >= 10 and "report" in r["wall_s"]:
            checks.append(("report <= 2.0 x xlate45", r["wall_s"]["report"] <= 2.0 * x))
            checks.append(("report peak <= 3.0 x input", r["peak_bytes"]["report"] <= 3.0 * r["bytes"]))
        if r["scale"] >= 10 and "downgrade" in r["wall_s"]:
            checks.append(("downgrade <= 1.5 x xlate45", r["wall_s"]["downgrade"] <= 1.5 * x))
            checks.append(("downgrade peak <= 3.0 x its input",
                           r["peak_bytes"]["downgrade"] <= 3.0 * r["converted_bytes"]))
        line = f"scale {r['scale']} bars: " + ", ".join(f"{what} {'ok' if ok else 'MISSED'}" for what, ok in checks)
        if r["scale"] < 10 and "floor" in r["peak_bytes"]:
            # A few megabytes of any process (libraries, stack, heap) are the
            # better part of its peak here: even the bare floor is far above 1 x.
            line += (f" (peak {r['peak_bytes']['xlate45'] / r['bytes']:.2f} x input, the floor's "
                     f"{r['peak_bytes']['floor'] / r['bytes']:.2f} x: a process's own footprint dominates "
                     "at this size, so the memory bar is read at 10 and 100 MB)")
        print(line)
    raw = args.build_dir / "bench-results.json"
    raw.write_text(json.dumps(results, indent=1) + "\n")
    print(f"\nraw figures: {raw}")


def main():
    args = parse_args()
    for path in (args.xlate45, args.nbconf,
                 *(args.build_dir / "bench" / p for p in ("bench_measure", "io_floor", "pugixml_roundtrip"))):
        if not path.exists():
            sys.exit(f"bench: {path} is not built (bench/run.sh builds it)")
    if shutil.which("xmllint") is None:
        sys.exit("bench: xmllint not found (bench/run.sh installs libxml2-utils)")
    results = [run_size(args, scale) for scale in args.sizes]
    report(args, results)
    return 1 if any("xlate45" in r["failed"] for r in results) else 0


if __name__ == "__main__":
    sys.exit(main())
