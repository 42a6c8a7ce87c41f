"""The page, read as a file and opened in a browser."""
import tempfile
import unittest
from html.parser import HTMLParser
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select
from support import PROGRAM, SAMPLE, run_tools, write_json

from quillon_tools.report import file_url

HOSTILE = ['<script>document.title = "taken"</script>', "\"' onclick=\"document.title='taken'",
           "שלום עולם", "{{ 7 * 7 }}", "</style><b>", "a\u202egnp.exe"]
STATS = {"failedDrawings": 0, "resultBlocks": 0, "totalBlocks": 9, "totalDrawings": 1,
         "uniqueBlocks": 9}
SQUARE = '<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 9 9"><path d="M1 1h7v7z"/></svg>'


def hit(name, value, **members):
    return {"name": name, "code": "c", "handle": "1F", "index": 0, "distOrScore": value,
            "dwgPathHash": "plan", "shapeWeight": 0.0, "textWeight": 0.0, **members}


class Texts(HTMLParser):
    """The texts of a page, the names of its elements, and the addresses in it."""

    def __init__(self, page):
        super().__init__()
        self.texts, self.elements, self.addresses = [], [], []
        self.feed(page)

    def handle_starttag(self, tag, attributes):
        self.elements.append(tag)
        self.addresses += [value for name, value in attributes if name in ("href", "src")]

    def handle_data(self, data):
        if data.strip():
            self.texts.append(data.strip())


class Page(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def report(self, *arguments):
        """The page, and what was printed without its size."""
        status, text, errors = run_tools("report", *arguments, folder=self.folder)
        self.assertEqual((status, errors), (0, ""))
        name = text.split(":")[0]
        return (self.folder / name).read_text("utf-8"), text.rsplit(", ", 1)[0]

    def write_result(self, name, *hits):
        write_json(self.folder / name, {"blocks": list(hits) or None, "stats": STATS})


class File(Page):
    def test_shows_every_hit(self):
        self.write_result("door.json", hit("Tür 1", 0.25, code="C1", dwgPath="/plans/a b.dwg"),
                          hit("Tür 2", None, code="C2", dwgPath="C:\\plans\\b#.dwg"))
        page, printed = self.report("door.json")
        self.assertEqual(printed, "report.html: 1 query, 2 hits, 0 pictures")
        found = Texts(page)
        self.assertEqual(found.texts[found.texts.index("Query"):-1], [
            "Query", "door", "2 hits", "squared distance, lower is better",
            "1", "Tür 1", "0.2500", "drawing", "a b.dwg", "code", "C1", "handle", "1F",
            "2", "Tür 2", "not finite", "drawing", "b#.dwg", "code", "C2", "handle", "1F"])
        self.assertEqual(found.addresses, ["file:///plans/a%20b.dwg", "file:///C:/plans/b%23.dwg"])

    def test_escapes_every_text(self):
        self.write_result("door.json", *[
            hit(text, 0.5, code=text, handle=text, dwgPathHash=text) for text in HOSTILE])
        page, _ = self.report("door.json")
        found = Texts(page)
        for text in HOSTILE:
            # A drawing is shown by the last part of its path.
            self.assertEqual(found.texts.count(text), 3 if "/" in text else 4, text)
        self.assertEqual((found.elements.count("script"), found.elements.count("b")), (1, 0))

    def test_compares_results_of_one_name(self):
        self.write_result("by-shape/door.json", hit("a", 0.5))
        self.write_result("adaptive/door.json", hit("a", 0.5, shapeWeight=0.75, textWeight=0.25))
        self.write_result("adaptive/tree.json")
        page, printed = self.report("by-shape", "adaptive", "--output", "new/r.html")
        self.assertEqual(printed, "new/r.html: 2 queries, 2 hits, 0 pictures")
        texts = Texts(page).texts
        self.assertEqual(texts[texts.index("Query"):-1], [
            "Query", "door", "by-shape", ": 1 hit", "squared distance, lower is better",
            "1", "a", "0.5000", "drawing", "plan", "code", "c", "handle", "1F",
            "adaptive", ": 1 hit", "score, higher is better", "shape 0.75", "text 0.25",
            "1", "a", "0.5000", "drawing", "plan", "code", "c", "handle", "1F",
            "Query", "tree", "0 hits", "squared distance, lower is better"])

    def test_has_every_picture_once(self):
        (self.folder / "pictures").mkdir()
        for name in ["c", "door", "unused"]:
            (self.folder / f"pictures/{name}.svg").write_text(SQUARE + "<!--%\"\n</style>-->")
        (self.folder / "secret.svg").write_text("secret")
        self.write_result("door.json", hit("a", 0.1), hit("b", 0.2),
                          hit("d", 0.3, code="../secret"))
        page, printed = self.report("door.json", "--pictures", "pictures")
        self.assertEqual(printed, "report.html: 1 query, 3 hits, 2 pictures")
        self.assertEqual((page.count("data:image/svg+xml"), page.count("</style>")), (2, 1))
        self.assertNotIn("secret\"", page.split("</style>")[0])
        self.assertEqual(Texts(page).texts.count("no picture"), 1)

    def test_is_small(self):
        (self.folder / "pictures").mkdir()
        for number in range(100):
            (self.folder / f"pictures/c{number}.svg").write_text(SQUARE + " " * 2000)
        for query in range(5):
            self.write_result(f"r/{query}.json", *[
                hit(f"block {row}", row / 9, code=f"c{20 * query + row}") for row in range(20)])
        page, printed = self.report("r", "--pictures", "pictures")
        self.assertEqual(printed, "report.html: 5 queries, 100 hits, 100 pictures")
        self.assertLess(len(page), 400_000)

    def test_mistakes_have_a_message(self):
        write_json(self.folder / "list.json", {"files": []})
        self.write_result("r1.json", {"name": "x"})
        self.write_result("r2.json", {**hit("x", 0.1), "distOrScore": "x"})
        self.write_result("r3.json", 7)
        (self.folder / "empty").mkdir()
        for words, message in [
                ("list.json", "list.json: is no result"), ("empty", "empty: no results there"),
                ("r1.json", "r1.json: blocks[0] has no text code"),
                ("r2.json", "r2.json: blocks[0] has no number distOrScore"),
                ("r3.json", "r3.json: blocks[0] is no object"),
                ("lost.json", "lost.json: No such file or directory")]:
            self.assertEqual(run_tools("report", words, folder=self.folder),
                             (1, "", f"quillon-tools report: {message}\n"))

    def test_addresses_of_drawings(self):
        for path, address in [
                ("/a/ü.dwg", "file:///a/%C3%BC.dwg"), ("C:\\a b\\c.dwg", "file:///C:/a%20b/c.dwg"),
                ("\\\\server\\share\\c.dwg", "file://server/share/c.dwg"), ("plan/a.dwg", ""),
                ("javascript:alert(1)", ""), ("", "")]:
            self.assertEqual(file_url(path), address)


class Browser(Page):
    @classmethod
    def setUpClass(cls):
        options = webdriver.ChromeOptions()
        for argument in ["--headless=new", "--no-sandbox", "--disable-gpu",
                         "--disable-dev-shm-usage"]:
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        cls.browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        cls.addClassCleanup(cls.browser.quit)
        cls.browser.set_page_load_timeout(300)
        cls.browser.set_script_timeout(300)

    def open(self, *arguments):
        self.report(*arguments)
        self.browser.get((self.folder / "report.html").as_uri())

    def tearDown(self):
        self.assertEqual(self.browser.get_log("browser"), [])

    def shown(self):
        return [card.find_element(By.TAG_NAME, "bdi").text
                for card in self.browser.find_elements(By.TAG_NAME, "li") if card.is_displayed()]

    def colour(self, selector):
        return self.browser.execute_script(
            "return getComputedStyle(document.querySelector(arguments[0])).backgroundColor", selector)

    def open_names(self, *names):
        self.write_result("q.json", *[
            hit(name, value, dwgPathHash=drawing) for name, value, drawing in names])
        self.open("q.json")

    def test_sorts(self):
        self.open_names(("b10", 0.3, "y"), ("b9", None, "x"), ("A", 0.1, "z"))
        sort = Select(self.browser.find_element(By.ID, "sort"))
        for key, names in [("value", ["A", "b10", "b9"]), ("name", ["A", "b9", "b10"]),
                           ("drawing", ["b9", "b10", "A"]), ("rank", ["b10", "b9", "A"])]:
            sort.select_by_value(key)
            self.assertEqual(self.shown(), names)

    def test_sorts_scores_downwards(self):
        self.write_result("q.json", *[hit(name, value, shapeWeight=0.5, textWeight=0.5)
                                      for name, value in [("a", 0.1), ("b", 0.3), ("c", 0.2)]])
        self.open("q.json")
        Select(self.browser.find_element(By.ID, "sort")).select_by_value("value")
        self.assertEqual(self.shown(), ["b", "c", "a"])

    def test_filters_by_keyboard(self):
        self.open_names(("Door 1", 0.3, "house"), ("Tree", 0.2, "garden"), ("Door 2", 0.1, "garden"))
        body = self.browser.find_element(By.TAG_NAME, "body")
        body.send_keys(Keys.TAB)
        self.assertEqual(self.browser.switch_to.active_element.get_attribute("id"), "sort")
        self.browser.switch_to.active_element.send_keys(Keys.TAB)
        field = self.browser.switch_to.active_element
        field.send_keys("GARDEN door" + Keys.ENTER)
        self.assertEqual(self.shown(), ["Door 2"])
        self.assertEqual(self.browser.find_element(By.ID, "shown").text, "1 of 3 hits")
        field.send_keys(Keys.TAB)
        self.assertEqual(self.browser.switch_to.active_element.tag_name, "li")

    def test_shows_hostile_names_as_text(self):
        self.open_names(*[(name, 0.5, name) for name in HOSTILE])
        self.assertEqual(self.shown(), HOSTILE)
        self.assertEqual(self.browser.title, "Similar blocks")
        self.assertEqual(len(self.browser.find_elements(By.TAG_NAME, "script")), 1)

    def test_shows_pictures(self):
        (self.folder / "pictures").mkdir()
        (self.folder / "pictures/c.svg").write_text(SQUARE)
        self.write_result("q.json", hit("a", 0.1))
        self.open("q.json", "--pictures", "pictures")
        size = self.browser.execute_async_script("""
            const done = arguments[0];
            const style = getComputedStyle(document.querySelector("li .picture"));
            const image = new Image();
            image.onload = () => done([image.naturalWidth > 0, style.height]);
            image.onerror = () => done([false, style.backgroundImage]);
            image.src = style.backgroundImage.slice(5, -2);""")
        self.assertEqual(size, [True, "136px"])

    def test_fits_narrow_and_wide_windows(self):
        self.assertEqual(run_tools("run", "queries", "--list", "filelist.json", "--program", PROGRAM,
                                   "--output", self.folder / "results")[0], 0)
        self.write_result("results/long.json", hit("x" * 300, 0.5, code="y" * 300,
                                                   dwgPathHash="z" * 300))
        self.open("results", "--queries", SAMPLE / "queries")
        for width in [400, 1400]:
            self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
                "width": width, "height": 900, "deviceScaleFactor": 1, "mobile": False})
            size = self.browser.execute_script(
                "return [innerWidth, document.documentElement.scrollWidth]")
            self.assertEqual(size[0], width)
            self.assertLessEqual(size[1], width)
            for text in self.browser.find_elements(By.CSS_SELECTOR, "h4, dd, .value"):
                self.assertGreater(text.size["width"], 60)
        self.browser.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})

    def test_is_dark_where_the_system_is(self):
        self.open_names(("a", 0.1, "x"))
        colours = []
        for scheme in ["light", "dark"]:
            self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
                "features": [{"name": "prefers-color-scheme", "value": scheme}]})
            colours.append(self.colour("body"))
        self.assertEqual(colours, ["rgb(244, 244, 242)", "rgb(23, 24, 26)"])


if __name__ == "__main__":
    unittest.main()
