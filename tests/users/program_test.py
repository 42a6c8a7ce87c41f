import unittest

from program import run


class Run(unittest.TestCase):
    def test_gives_status_and_console(self):
        self.assertEqual(run("/encode", "queries/1-door-23-3.json"),
                         (255, "ERROR: The input dwg file list path is empty"))


if __name__ == "__main__":
    unittest.main()
