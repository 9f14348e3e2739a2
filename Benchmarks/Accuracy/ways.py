"""Ways to tell by how many rows the lower of two screenshots lies below the upper one.

Each takes the files and the heights of the bars at top and bottom, and answers (offset, evidence); without any answer the offset is
None. What the program answers is taken as it is; of the others, who always have an answer, `bounds` says from which evidence on a
careful programmer would believe it.
"""
import collections
import functools
import json
import os
import subprocess
import tempfile

import cv2
import numpy

cv2.setNumThreads(1)  # pairs are judged side by side


@functools.lru_cache(maxsize=32)
def shot(path):
    return cv2.imread(str(path))


def velmorant(program, upper, lower, _top, _bottom):
    """As its users call it: told neither bars nor order."""
    with tempfile.TemporaryDirectory() as work:
        ran = subprocess.run([program, "--together", "--no-cache", "--json", "-o", os.path.join(work, "out.png"), str(upper), str(lower)],
                             stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=300, check=False)
    alignment = json.loads(ran.stdout)["groups"][0]["alignment"]
    if not alignment:
        return None, 0
    placed = {os.path.basename(p["path"]): p["offset"] for p in alignment["positions"]}
    return placed[lower.name] - placed[upper.name], 1


def row_hashes(upper, lower, _top, _bottom):
    """The offset at which most rows are equal (Benchmarks/WholeJob/RowHashes.cpp). Evidence: so many rows."""
    places = {row.tobytes(): y for y, row in enumerate(shot(upper))}
    votes = collections.Counter(places[key] - y for y, row in enumerate(shot(lower)) if places.get(key := row.tobytes(), 0) > y)
    return votes.most_common(1)[0] if votes else (None, 0)


def template(upper, lower, top, bottom):
    """A band of 200 rows, found again (Benchmarks/WholeJob/opencv_stitch.py). Evidence: minus the mean squared difference."""
    above, below = shot(upper), shot(lower)
    band, area = below[top:top + 200], above[top:above.shape[0] - bottom]
    if band.shape[1:] != area.shape[1:] or len(area) < len(band):
        return None, float("-inf")
    answers = cv2.matchTemplate(area, band, cv2.TM_SQDIFF)[:, 0]
    best = int(numpy.argmin(answers))
    return best, -float(answers[best]) / band.size


def features(upper, lower, top, bottom):
    """ORB features of both, matched; the shift that most of them tell. Evidence: so many of them."""
    finder = cv2.ORB_create(3000)
    (points, marks), (points2, marks2) = (finder.detectAndCompute(cv2.cvtColor(s[top:s.shape[0] - bottom], cv2.COLOR_BGR2GRAY), None)
                                          for s in (shot(upper), shot(lower)))
    if marks is None or marks2 is None:
        return None, 0
    shifts = collections.Counter()
    for match in cv2.BFMatcher(cv2.NORM_HAMMING, crossCheck=True).match(marks, marks2):
        (x, y), (x2, y2) = points[match.queryIdx].pt, points2[match.trainIdx].pt
        if abs(x - x2) < 1:
            shifts[round(y - y2)] += 1
    return shifts.most_common(1)[0] if shifts else (None, 0)


bounds = {row_hashes: 40, template: -100, features: 20}
