"""The demo's page, which the README shows."""
import re
import subprocess
import unittest

from support import PROGRAM, ROOT


class Demo(unittest.TestCase):
    def test_ends_with_the_page_of_its_table(self):
        ended = subprocess.run([ROOT / "scripts/demo.sh", PROGRAM], cwd=ROOT, check=True,
                               capture_output=True, encoding="utf-8")
        page = ROOT / "build/demo/report.html"
        self.assertEqual((ended.stdout.splitlines()[-1], ended.stderr),
                         (f"The same with pictures: {page}", ""))
        names = re.findall(r"^ +\d  (\S.*?)  ", ended.stdout, re.MULTILINE)
        self.assertEqual(len(names), 5)
        text = page.read_text("utf-8")
        self.assertEqual(re.findall(r"<h4>.*<bdi>(.*)</bdi>", text), names)
        self.assertEqual(text.count("data:image/svg+xml"), 5)  # all but one block, and the query
        self.assertLess(len(text), 100_000)

    def test_picture_in_the_readme_is_small(self):
        picture = (ROOT / "docs/report.png").read_bytes()
        self.assertEqual(picture[:4], b"\x89PNG")
        self.assertLess(len(picture), 200_000)


if __name__ == "__main__":
    unittest.main()
