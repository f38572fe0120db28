"""Sums up which branches were taken, from what `llvm-cov export` says.

Arguments: the export, the root of the sources, a file for the branches that were missed. Reads lines of a folder and
the least percentage of its branches from the standard input; the exit status is 1 when a folder has fewer.
"""

import json
import sys
from collections import defaultdict
from pathlib import Path

WORST_FILES = 25


def folder_of(name):
    parts = Path(name).parts
    return "/".join(parts[: 3 if parts[0] == "Platform" else 2][: len(parts) - 1])


def sides(branches):
    """Whether each side of each condition was taken, in all instances of a template together."""
    taken = defaultdict(int)
    for line, column, _, _, true_count, false_count, *_ in branches:
        taken[line, column, "true"] += true_count
        taken[line, column, "false"] += false_count
    return taken


def percent(taken, of):
    return 100 * taken / of if of else 100


def main(export, root, missed_name):
    totals = defaultdict(lambda: [0, 0])
    files = []
    with open(missed_name, "w") as missed:
        for file in sorted(json.load(open(export))["data"][0]["files"], key=lambda file: file["filename"]):
            name = str(Path(file["filename"]).relative_to(root))
            taken = sides(file["branches"])
            misses = [side for side, count in sorted(taken.items()) if count == 0]
            for line, column, side in misses:
                missed.write(f"{name}:{line}:{column}: never {side}\n")
            files.append((len(misses), len(taken), name))
            totals[folder_of(name)][0] += len(taken) - len(misses)
            totals[folder_of(name)][1] += len(taken)

    print("  taken      of  percent")
    for folder, (taken, of) in sorted(totals.items()):
        print(f"{taken:7} {of:7} {percent(taken, of):8.1f}  {folder}")
    print("\n missed      of")
    for misses, of, name in sorted(files, reverse=True)[:WORST_FILES]:
        print(f"{misses:7} {of:7}  {name}")

    print()
    failed = False
    for limit in sys.stdin.read().splitlines():
        folder, least = limit.split()
        taken, of = (sum(total[i] for name, total in totals.items() if f"{name}/".startswith(f"{folder}/")) for i in (0, 1))
        enough = percent(taken, of) >= float(least)
        failed = failed or not enough
        print(f"{folder}: {percent(taken, of):.1f} % of {of} branches, {'at least' if enough else 'BELOW'} {least} %")
    return failed


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
