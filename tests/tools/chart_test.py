"""The bar chart of the sample; bars and texts are those of the result."""
import json
import re
import tempfile
import unittest
import xml.etree.ElementTree
from pathlib import Path

from support import ROOT, run_program, run_tools

SVG = "{http://www.w3.org/2000/svg}"


def texts_of(picture):
    return [text.text for text in xml.etree.ElementTree.fromstring(picture).iter(SVG + "text")]


def bars_of(picture):
    """Fill and length of every bar that begins at the left end of its axes, in their order."""
    bars = []
    for path in xml.etree.ElementTree.fromstring(picture).iter(SVG + "path"):
        corners = re.findall(r"[ML] ([\d.]+) ([\d.]+)", path.get("d"))
        if "clip-path" in path.attrib and len(corners) == 4:
            fill = re.search("fill: ([^;]*)", path.get("style")).group(1)
            bars.append((fill, float(corners[1][0]) - float(corners[0][0])))
    return bars


class Chart(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def plot(self, result="result.json"):
        self.assertEqual(run_tools("report", result, "--svg", "hits.svg", folder=self.folder),
                         (0, "", ""))
        return (self.folder / "hits.svg").read_text("utf-8")

    def plot_document(self, blocks):
        (self.folder / "result.json").write_text(json.dumps({"blocks": blocks, "stats": {}}))
        return self.plot()

    def test_sample_is_the_picture_in_the_documents(self):
        result = self.folder / "result.json"
        status, _ = run_program("/filelist", "filelist.json", "/encode", "queries/1-door-23-3.json",
                                "/output", result)
        self.assertEqual(status, 0)
        self.assertTrue(self.plot() == (ROOT / "docs/hits.svg").read_text("utf-8"),
                        "docs/hits.svg is not what quillon-tools report --svg draws of the demo's result")

    def test_sample_has_bars_as_long_as_scores(self):
        picture = (ROOT / "docs/hits.svg").read_text("utf-8")
        bars = bars_of(picture)
        self.assertEqual([fill for fill, _ in bars],
                         ["#08306b"] * 3 + ["#fd8d3c", "#6a51a3", "#525252", "#d9d9d9"])
        longest = bars[0][1]
        for (_, length), score in zip(bars, [0.61353, 0.60998, 0.59907, 0.55640, 0.32782]):
            self.assertAlmostEqual(length / longest, score / 0.61353, places=3)
        self.assertAlmostEqual(bars[5][1] / (bars[5][1] + bars[6][1]), 0.53789, places=4)
        texts = [text for text in texts_of(picture) if not re.fullmatch(r"0\.\d", text)]
        self.assertEqual(texts, [
            "score, higher is better", "Door 23_6", "Door 23_4", "Door 23_2", "wipeout_door",
            "start", "0.614", "0.610", "0.599", "0.556", "0.328", "drawing", "texts-in-block.dxf",
            "wipeout_door.dxf", "Ceco.NET-Architecture-Tm-53.dxf", "weights", "shape 0.54",
            "text 0.46"])

    def test_distances_have_no_weights(self):
        hit = {"name": "A$C1$\n", "code": "c", "handle": "1", "shapeWeight": 0.0, "textWeight": 0.0, "distOrScore": 0.25}
        picture = self.plot_document([
            {**hit, "dwgPath": "C:\\plans\\a$b$.dwg"},
            {**hit, "dwgPathHash": "hash", "distOrScore": 0.5},
            {**hit, "dwgPath": "/plans/a$b$.dwg", "distOrScore": None}])
        texts = [text for text in texts_of(picture) if not re.fullmatch(r"0\.\d", text)]
        self.assertEqual(texts, ["squared distance, lower is better", *["A$C1$\ufffd"] * 3, "0.250",
                                 "0.500", "not finite", "drawing", "a$b$.dwg", "hash"])
        (_, first), (_, second), (_, third) = bars_of(picture)
        self.assertAlmostEqual(first * 2, second, places=4)
        self.assertEqual(third, 0)

    def test_many_drawings_are_told_apart_by_lines(self):
        hits = [{"name": "n", "code": "c", "handle": "1", "shapeWeight": 0.0, "textWeight": 0.0, "distOrScore": 0.5,
                 "dwgPathHash": str(number)} for number in range(16)]
        picture = self.plot_document(hits)
        self.assertEqual(picture.count("<pattern "), 12)
        self.assertEqual(len({fill for fill, _ in bars_of(picture)}), 4 + 12)

    def test_no_hits_say_so(self):
        self.assertEqual(texts_of(self.plot_document(None)), ["no hits"])

    def test_png_and_mistakes(self):
        self.plot_document(None)
        run_tools("report", "result.json", "--png", "hits.png", folder=self.folder)
        self.assertEqual((self.folder / "hits.png").read_bytes()[:4], b"\x89PNG")
        self.assertEqual(run_tools("report", "result.json", "result.json", "--png", "x.png",
                                   folder=self.folder),
                         (1, "", "quillon-tools report: a bar chart shows one result, not 2\n"))


if __name__ == "__main__":
    unittest.main()
