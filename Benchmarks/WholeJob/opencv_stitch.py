"""What a Python programmer would write: joins screenshots of one page by OpenCV's template matching.

Usage: opencv_stitch.py PICTURE TOP_BAR BOTTOM_BAR SHOT…
"""
import sys

import cv2
import numpy as np

picture, top, bottom = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
shots = [cv2.imread(name) for name in sys.argv[4:]]
height = shots[0].shape[0]
parts = [shots[0][: height - bottom]]
for number, (upper, lower) in enumerate(zip(shots, shots[1:]), 1):
    band = lower[top : top + 200]  # found again in the upper screenshot
    answers = cv2.matchTemplate(upper[top : height - bottom], band, cv2.TM_SQDIFF)
    offset = int(np.argmin(answers))
    last = number + 1 == len(shots)
    parts.append(lower[height - bottom - offset : height if last else height - bottom])
cv2.imwrite(picture, np.vstack(parts))
