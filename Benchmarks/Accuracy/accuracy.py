"""Judges the program and ways that people use today on pairs of screenshots whose true offsets are known.

  accuracy.py PROGRAM CASES [COUNT]

CASES is a folder of cases, each with frames/ and truth.json. Pairs that belong together are neighbours of a case's expected picture;
pairs that do not are shots of one case that show no row in common, all pairs of cases that are to be refused, and as many strangers:
shots of one size of different cases. Of each of both sorts COUNT are drawn by chance, the same in every run (default: all).
"""
import collections
import concurrent.futures
import functools
import itertools
import json
import pathlib
import random
import sys
import typing

import ways


class Pair(typing.NamedTuple):
    tags: list
    upper: pathlib.Path
    lower: pathlib.Path
    bars: tuple  # what both have of fixed bars: rows at the top, rows at the bottom
    offset: int | None  # None: do not belong together
    tolerance: int = 0


def pair(case, folder, i, j, offset, tolerance=0):
    a, b = case["frames"][i], case["frames"][j]
    return Pair(case["tags"], folder / a["file"], folder / b["file"], tuple(max(a[k], b[k]) for k in ("top", "bottom")), offset, tolerance)


def together(case, folder):
    expect = case["expect"]
    if expect["kind"] == "stitch":
        for (i, at), (j, to) in itertools.pairwise(zip(expect["items"], expect["offsets"])):
            if to > at:  # shots of the same view are another task
                yield pair(case, folder, i, j, to - at, expect["tolerance"])


def shared(a, b):
    """Rows of content that both show."""
    if a.get("content", 0) != b.get("content", 0):
        return 0
    return min(f["scroll"] + f["height"] - f["top"] - f["bottom"] for f in (a, b)) - max(a["scroll"], b["scroll"])


def apart(case, folder):
    frames = case["frames"]
    for i, j in itertools.combinations(range(len(frames)), 2):
        if case["expect"]["kind"] == "reject" or shared(frames[i], frames[j]) <= 0 and len(frames) <= 8:
            yield pair(case, folder, i, j, None)


def strangers(cases, count):
    sizes = collections.defaultdict(list)
    for case, folder in cases:
        for frame in case["frames"][:3]:
            sizes[frame["width"], frame["height"]].append((case, folder / frame["file"], (frame["top"], frame["bottom"])))
    found = [(a, b) for group in sizes.values() for a, b in itertools.combinations(group, 2) if a[0] is not b[0]]
    random.Random(1).shuffle(found)
    return [Pair([], a[1], b[1], tuple(map(max, a[2], b[2])), None) for a, b in found[:count]]


def verdict(pair, offset):
    if offset is None:
        return "refused" if pair.offset is not None else "apart"
    if pair.offset is None:
        return "false"
    return "right" if abs(offset - pair.offset) <= pair.tolerance else "wrong"


def judge(answers, pair):
    verdicts = {}
    for name, (way, bound) in answers.items():
        offset, evidence = way(pair.upper, pair.lower, *pair.bars)
        if bound is None:
            verdicts[name] = verdict(pair, offset)
        else:
            verdicts[name] = verdict(pair, offset if evidence >= bound else None)
            verdicts[name + ", never refusing"] = verdict(pair, offset)
    return pair, verdicts


def drawn(pairs, count):
    return random.Random(1).sample(pairs, min(count, len(pairs)))


def main(program, folder, count=1_000_000):
    cases = [(json.loads(path.read_text()), path.parent / "frames") for path in sorted(pathlib.Path(folder).glob("*/truth.json"))]
    cases = [(case, frames) for case, frames in cases if "expect" in case]
    if not cases:
        sys.exit(f"accuracy: there is no case in {folder}")
    answers = {"velmorant": (functools.partial(ways.velmorant, program), None)}
    answers |= {way.__name__.replace("_", " "): (way, bound) for way, bound in ways.bounds.items()}
    belong = [p for case in cases for p in together(*case)]
    not_one = [p for case in cases for p in apart(*case)]
    work = drawn(belong, int(count)) + drawn(not_one + strangers(cases, len(not_one)), int(count))
    total, tags = collections.defaultdict(collections.Counter), collections.defaultdict(collections.Counter)
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        for done, verdicts in pool.map(functools.partial(judge, answers), drawn(work, len(work))):
            print(done.upper.parent.parent.name, done.upper.name, done.lower.name, verdicts, file=sys.stderr, flush=True)
            for name, word in verdicts.items():
                total[name][word] += 1
                if done.offset is not None:
                    for tag in done.tags:
                        tags[tag][name] += word == "right"
            for tag in done.tags if done.offset is not None else ():
                tags[tag]["pairs"] += 1

    belong = sum(p.offset is not None for p in work)
    print(f"{len(cases)} cases: {belong} pairs that belong together, {len(work) - belong} that do not")
    print(f"{'':28} {'right':>6} {'wrong':>6} {'refused':>8} {'falsely joined':>15}")
    for name, counts in total.items():
        print(f"{name:28} {counts['right']:6} {counts['wrong']:6} {counts['refused']:8} {counts['false']:15}")
    print(f"\nright, of pairs that belong together:\n{'kind of page':20} {'pairs':>6} " + " ".join(f"{name:>11}" for name in answers))
    for tag, counts in sorted(tags.items()):
        print(f"{tag:20} {counts['pairs']:6} " + " ".join(f"{counts[name]:11}" for name in answers))


main(*sys.argv[1:])
