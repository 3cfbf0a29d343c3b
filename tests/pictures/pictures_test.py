#!/usr/bin/env python3
"""'zix render' draws the samples as it did when somebody last looked at them: expected/*.png.

Each picture may differ a little: in few pixels, and hardly in its outline. Of one that differs more, the new one and a
picture of the differences (white: none, the darker the larger) are left in build/pictures, or in the folder that
LOFTBAY_PICTURES names.

Where the change is meant, look at the new pictures, and make them the expected ones:

    LOFTBAY_RENEW_PICTURES=1 ctest --test-dir build -R '^pictures$'
"""

import functools
import os
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ.get("LOFTBAY_SOURCE_DIR", pathlib.Path(__file__).resolve().parents[2]))
BIN = pathlib.Path(os.environ.get("LOFTBAY_BIN_DIR", SOURCE / "build" / "bin"))
LEFT = pathlib.Path(os.environ.get("LOFTBAY_PICTURES", BIN.parent / "pictures"))
EXPECTED = pathlib.Path(__file__).resolve().parent / "expected"
RENEW = os.environ.get("LOFTBAY_RENEW_PICTURES", "") not in ("", "0")
sys.path[:0] = [str(SOURCE / "tests" / "format_reader"), str(SOURCE / "python")]
import numpy as np
import zix_builder
from PIL import Image

SIZE = "200x150"
A_LITTLE = 8            # of 255, in a colour or in opacity
MOST_PIXELS = 0.5       # per cent that may differ by more
LEAST_OUTLINE = 99.0    # per cent of both outlines that must be common

# name: (sample, options of the conversion, options of the picture). `see-through` is no option of the program: it makes
# the materials of the scene transparent, as none of the samples has such.
PICTURES = {
    "engine-iso": ("beam_engine", (), ()),
    "engine-front": ("beam_engine", (), ("--view", "front")),
    "engine-left": ("beam_engine_10.0", (), ("--view", "left")),
    "engine-top": ("beam_engine_8.1", (), ("--view", "top")),
    "engine-edges": ("beam_engine", (), ("--edges",)),
    "engine-line-drawing": ("beam_engine", (), ("--no-shade",)),
    "engine-no-background": ("beam_engine", (), ("--background", "none")),
    "engine-see-through": ("beam_engine", ("see-through",), ("--view", "back")),
    "engine-sheet": ("beam_engine", (), ("--sheet",)),
    "flange-iso": ("flange_joint", (), ()),
    "flange-flat": ("flange_joint", (), ("--flat", "--up", "x", "--background", "203040")),
    "survey-lines-points": ("survey", ("--lines", "--points"), ()),
}


def run(*command, **options):
    subprocess.run([str(part) for part in command], check=True, timeout=120, **options)


def made_transparent(data):
    """The bytes of a scene, all materials of which let half of the light through."""
    start, count = struct.unpack_from("<QI", data, 24)
    for number in range(count):
        kind, _, _, size, _, record_size, _ = zix_builder.ENTRY.unpack_from(data, start + 40 * number)
        for material in range(size // record_size if kind == b"MATL" else 0):
            data = zix_builder.change_chunk(data, number, material * record_size + 12, "<f", 0.5)
    return data


class Workshop:
    """Converts each sample once and draws what is asked for, in a folder of its own."""

    def __init__(self):
        self.temp = tempfile.TemporaryDirectory(prefix="loftbay-pictures-")
        self.folder = pathlib.Path(self.temp.name)

    @functools.cache
    def scene(self, sample, options):
        path = self.folder / f"{sample}{'-'.join(options)}.zix"
        run(BIN / "loftbay", SOURCE / "samples" / f"{sample}.jt", path, "--quiet", *[o for o in options if o != "see-through"],
            env=dict(os.environ, MERIDAN_TEMP_PATH=str(self.folder)))
        if "see-through" in options:
            before = path.read_bytes()
            after = made_transparent(before)
            assert after != before, "the scene has no materials"
            path.write_bytes(after)
        return path

    def picture(self, sample, options, style):
        """Rows of pixels of four values each, 0 to 255."""
        out = self.folder / "picture.png"
        run(BIN / "zix", "render", self.scene(sample, options), out, "--size", SIZE, *style)
        return read(out)


def read(path):
    with Image.open(path) as picture:
        return np.asarray(picture.convert("RGBA")).astype(int)


def save(pixels, path):
    mode = "RGB" if (pixels[..., 3] == 255).all() else "RGBA"
    Image.fromarray(pixels.astype(np.uint8), "RGBA").convert(mode).save(path, optimize=True)


def outline(pixels):
    """Where the model is: what is not see-through, or, on a background, differs from the row's first pixel."""
    if (pixels[..., 3] < 255).any():
        return pixels[..., 3] > 127
    return (np.abs(pixels - pixels[:, :1]) > 3).any(axis=-1)


def differences(new, expected):
    """The largest difference of each pixel; colours count as far as they are seen."""
    def seen(pixels):
        return np.concatenate([pixels[..., :3] * pixels[..., 3:] / 255, pixels[..., 3:]], axis=-1)
    return np.abs(seen(new) - seen(expected)).max(axis=-1)


def problem_of(new, expected):
    """None, or how two pictures differ."""
    if new.shape != expected.shape:
        return f"it has {new.shape[1]} x {new.shape[0]} pixels instead of {expected.shape[1]} x {expected.shape[0]}"
    share = 100.0 * (differences(new, expected) > A_LITTLE).mean()
    a, b = outline(new), outline(expected)
    common = 100.0 * (a & b).sum() / max(1, (a | b).sum())
    if share <= MOST_PIXELS and common >= LEAST_OUTLINE:
        return None
    return (f"{share:.2f} % of its pixels differ by more than {A_LITTLE} of 255 (allowed: {MOST_PIXELS:g} %), "
            f"{common:.2f} % of the outlines are common (needed: {LEAST_OUTLINE:g} %)")


def leave(name, new, expected):
    """The new picture and the differences, for people; gives the text that says where."""
    LEFT.mkdir(parents=True, exist_ok=True)
    paths = [LEFT / f"{name}.png"]
    save(new, paths[0])
    if new.shape == expected.shape:
        paths.append(LEFT / f"{name}-difference.png")
        shade = 255 - np.minimum(4 * differences(new, expected), 255)
        Image.fromarray(shade.astype(np.uint8), "L").save(paths[1])
    return " and ".join(map(str, paths))


class Pictures(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.workshop = Workshop()
        cls.addClassCleanup(cls.workshop.temp.cleanup)
        if RENEW:
            for name, what in PICTURES.items():
                save(cls.workshop.picture(*what), EXPECTED / f"{name}.png")

    def test_samples_look_as_they_did(self):
        for name, what in PICTURES.items():
            with self.subTest(name):
                new = self.workshop.picture(*what)
                for old in (LEFT / f"{name}.png", LEFT / f"{name}-difference.png"):
                    old.unlink(missing_ok=True)
                expected = read(EXPECTED / f"{name}.png")
                problem = problem_of(new, expected)
                if problem is not None:
                    self.fail(f"{name}: {problem}. Look at {leave(name, new, expected)}. How to renew the expected pictures "
                              f"is said in {pathlib.Path(__file__).name}.")

    def test_no_expected_picture_is_left_over(self):
        self.assertEqual(sorted(path.stem for path in EXPECTED.iterdir()), sorted(PICTURES))

    def test_other_views_styles_and_colours_are_noticed(self):
        for name, style in (("engine-iso", ("--view", "right")), ("engine-iso", ("--up", "y")), ("engine-iso", ("--edges",)),
                            ("engine-iso", ("--no-shade",)), ("engine-iso", ("--background", "none")),
                            ("engine-iso", ("--background", "ffffff")), ("flange-iso", ("--flat",)),
                            ("engine-see-through", ())):
            with self.subTest(name, style=style):
                sample, options, _ = PICTURES[name]
                new = self.workshop.picture(sample, options, style)
                self.assertIsNotNone(problem_of(new, read(EXPECTED / f"{name}.png")))
        opaque = self.workshop.picture("beam_engine", (), ("--view", "back"))
        self.assertIsNotNone(problem_of(opaque, read(EXPECTED / "engine-see-through.png")))

    def test_every_picture_differs_from_every_other(self):
        pictures = {name: read(EXPECTED / f"{name}.png") for name in PICTURES}
        for a in PICTURES:
            for b in PICTURES:
                self.assertEqual(problem_of(pictures[a], pictures[b]) is None, a == b, (a, b))


class TheComparison(unittest.TestCase):
    def setUp(self):
        self.picture = read(EXPECTED / "engine-iso.png")

    def test_forgives_a_little(self):
        other = self.picture.copy()
        other[..., :3] = np.minimum(other[..., :3] + A_LITTLE // 2, 255)
        other[70, 60:90, :3] = 0      # 0.1 % of the pixels
        self.assertIsNone(problem_of(other, self.picture))

    def test_notices_a_shift_by_two_pixels(self):
        self.assertIn("outlines", problem_of(np.roll(self.picture, 2, axis=1), self.picture))

    def test_notices_a_model_that_is_a_little_darker(self):
        other = self.picture.copy()
        other[outline(other)] = other[outline(other)] * [0.9, 0.9, 0.9, 1]
        self.assertIn("pixels differ", problem_of(other, self.picture))

    def test_notices_another_size(self):
        self.assertIn("x 150 pixels instead of", problem_of(self.picture[:, :-1], self.picture))


if __name__ == "__main__":
    unittest.main()
