"""The module against the example screenshots, whose truth is known to the row."""

import json
import os
import pathlib
import re
import signal
import tempfile
import threading
import time
import unittest

import numpy
import velmorant
from velmorant import _library

ROOT = pathlib.Path(__file__).resolve().parents[3]
CHAT = sorted((ROOT / "Examples/trip-chat").glob("*.png"))
RECEIPT = sorted((ROOT / "Examples/receipt").glob("*.jpg"))
UNRELATED = sorted((ROOT / "Examples/unrelated").glob("*.png"))


def truth_of(folder: str) -> dict:
    return json.loads((ROOT / "Examples" / folder / "truth.json").read_text())


class StitchTest(unittest.TestCase):
    def test_places_every_example_to_the_row(self) -> None:
        for folder, shots in ("trip-chat", CHAT), ("receipt", RECEIPT):
            with self.subTest(folder):
                truth = truth_of(folder)
                alignment = velmorant.Run(shots).align()
                offsets = {shots[p.screenshot].name: p.top for p in alignment.positions}
                self.assertEqual(offsets, truth["offsets"])
                self.assertEqual((alignment.width, alignment.height), (truth["width"], truth["height"]))
                self.assertEqual(alignment.left_out, ())

    def test_arrays_bands_and_files_show_the_same_picture(self) -> None:
        picture = velmorant.stitch(CHAT)
        run = velmorant.Run(CHAT)
        bands: list = []
        run.render_bands(lambda row, rows: bands.append((row, rows.copy())))
        self.assertEqual([row for row, _ in bands], [128 * k for k in range(len(bands))])
        numpy.testing.assert_array_equal(numpy.concatenate([rows for _, rows in bands]), picture)

        cuts = [picture[top : top + 844] for top in (0, 400, 800, 1200)]
        numpy.testing.assert_array_equal(velmorant.stitch(cuts), picture[:2044])
        translucent = [numpy.dstack([cut, numpy.full(cut.shape[:2], 254, numpy.uint8)]) for cut in cuts]
        self.assertEqual(velmorant.stitch(translucent).shape, (2044, 390, 4))
        grey = velmorant.stitch([cut[:, :, 1] for cut in cuts])
        numpy.testing.assert_array_equal(grey[:, :, 0], picture[:2044, :, 1])

        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder) / "joined.png"
            run.save(file)
            self.assertEqual(os.listdir(folder), ["joined.png"])
            self.assertEqual(file.read_bytes()[16:24], b"".join(n.to_bytes(4, "big") for n in (390, 2714)))
            with self.assertRaises(velmorant.NotWrittenError):
                run.save(pathlib.Path(folder) / "missing" / "joined.png")
            with self.assertRaisesRegex(ValueError, "name a file that ends with"):
                run.save(pathlib.Path(folder) / "joined.tiff")

    def test_tells_what_does_not_match(self) -> None:
        with self.assertRaises(velmorant.NoMatchError):
            velmorant.stitch(UNRELATED)
        (seam,) = velmorant.explain(UNRELATED)
        self.assertFalse(seam.valid)
        self.assertIsNone(seam.offset)
        self.assertNotEqual(seam.verdict, "matched")
        blank = numpy.full((844, 390), 255, numpy.uint8)
        for last, why in (blank, "no rows in common"), (CHAT[3], "the other way round"):
            with self.assertRaisesRegex(velmorant.NoMatchError, rf"screenshots \[5\] would be left out; 4 and 5: .*{why}"):
                velmorant.stitch([*CHAT, last])
        self.assertEqual(velmorant.stitch([*CHAT, blank], strict=False).shape, (2714, 390, 3))

    def test_bad_input_is_named_and_leaves_the_run_usable(self) -> None:
        run = velmorant.Run(CHAT[:2])
        with self.assertRaisesRegex(velmorant.BadFileError, "nothing-here.png: there is no such file"):
            run.add("nothing-here.png")
        for wrong in numpy.zeros((4, 4)), numpy.zeros((4, 4, 2), numpy.uint8), numpy.zeros((0, 4), numpy.uint8):
            with self.assertRaises(ValueError):
                run.add(wrong)
        with tempfile.TemporaryDirectory() as folder:
            cut = pathlib.Path(folder) / "cut.png"
            cut.write_bytes(CHAT[1].read_bytes()[:20000])
            with self.assertRaisesRegex(velmorant.BadFileError, "cut.png: the file is cut off"):
                velmorant.stitch([CHAT[0], cut])
        self.assertEqual(run.align().height, 844 + 407)


class ControlTest(unittest.TestCase):
    def test_progress_rises_to_the_end_and_may_cancel(self) -> None:
        heard: list = []
        velmorant.stitch(CHAT, progress=lambda done, total: heard.append((done, total)))
        self.assertEqual(heard, sorted(heard))
        self.assertEqual(heard[-1], (5, 5))
        run = velmorant.Run(CHAT)
        run.align()
        with tempfile.TemporaryDirectory() as folder:
            for answer in (lambda *_: False), (lambda *_: 1 / 0):
                with self.assertRaises((velmorant.CancelledError, ZeroDivisionError)):
                    run.save(pathlib.Path(folder) / "joined.png", progress=answer)
            self.assertEqual(os.listdir(folder), [])
        with self.assertRaises(velmorant.CancelledError):
            run.render_bands(lambda row, rows: row < 256)
        self.assertEqual(run.render().shape, (2714, 390, 3))

    def test_other_threads_run_on_and_may_cancel(self) -> None:
        noise = numpy.random.default_rng(1).integers(0, 255, (3000, 1200, 3), numpy.uint8)
        run = velmorant.Run([numpy.roll(noise, -7 * k, 0) for k in range(12)])
        began = time.monotonic()
        raised: list = []

        def align() -> None:
            try:
                run.align()
            except velmorant.CancelledError as error:
                raised.append(error)

        worker = threading.Thread(target=align)
        worker.start()
        while not raised and time.monotonic() < began + 60:
            run.cancel()  # nothing while the run is not at work yet
            time.sleep(0.001)
        worker.join()
        self.assertEqual(len(raised), 1)

    def test_ctrl_c_comes_through(self) -> None:
        run = velmorant.Run(CHAT)
        run.align()
        with self.assertRaises(KeyboardInterrupt):
            run.render_bands(lambda row, rows: signal.raise_signal(signal.SIGINT))


class InterfaceTest(unittest.TestCase):
    def test_declares_what_the_header_declares(self) -> None:
        header = (ROOT / "Bindings/C/velmorant.h").read_text()
        header = re.sub(r"/\*.*?\*/", "", header, flags=re.DOTALL)
        declared = dict(re.findall(r"(velmorant_\w+)\(([^()]*)\);", header))
        self.assertEqual(declared.keys(), _library._FUNCTIONS.keys())
        for name, parameters in declared.items():
            count = 0 if parameters == "void" else parameters.count(",") + 1
            self.assertEqual(len(_library._FUNCTIONS[name][1]), count, name)


if __name__ == "__main__":
    unittest.main()
