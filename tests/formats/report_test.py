"""The report in a browser: what it shows, what clicks do, and that data stays data.

Usage: report_test.py <the program> <chromium> <chromedriver>
"""
import os
import re
import shutil
import sys
import tempfile
import time
import unittest

from selenium import webdriver
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service

from quillon import Program

KEY = "id int NOT NULL CONSTRAINT [PK_{0}] PRIMARY KEY"
EVIL = "<img src=x onerror=\"window.injected=1\">"
EVIL_CELL = "</script><script>window.injected=2</script><!--"
LONG = "".join(f"word{number} " for number in range(200))


def quoted(text):
    return "N'" + text.replace("'", "''") + "'"


class Report(unittest.TestCase):
    maxDiff = None
    path = chromium = chromedriver = None

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp()
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        cls.program = Program(cls.path)
        cls.addClassCleanup(cls.program.close)
        cls.make_databases()
        cls.small = cls.report("small.html", "--exclude", "big", "--where", "failing=nonsense")
        cls.large = cls.report("large.html", "-t", "big", "-t", "few", "--report-limit", "0")
        cls.limited = cls.report("limited.html", "-t", "big", "--report-limit", "3")
        cls.same = cls.report("same.html", "-t", "same", "--ignore", "extra")
        cls.accepted = cls.report("accepted.html", "-t", "few", "--where", "few=id = 0",
                                  "--accept-uncompared")
        cls.scripts = cls.report("scripts.html", databases="cd")
        cls.unwritable = cls.report("unwritable.html", databases="ef")
        options = Options()
        options.binary_location = cls.chromium
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu",
                         "--disable-dev-shm-usage", "--window-size=1200,900"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        cls.browser = webdriver.Chrome(service=Service(cls.chromedriver), options=options)
        cls.addClassCleanup(cls.browser.quit)

    @classmethod
    def make_databases(cls):
        evil = EVIL.replace("]", "]]")
        for name in "ab":
            cls.program.run_sql(f"CREATE DATABASE {name}")
            cls.program.run_sql(
                f"CREATE TABLE few ({KEY.format('few')}, name nvarchar(40), note nvarchar(max), n int)",
                f"CREATE TABLE same ({KEY.format('same')})",
                f"CREATE TABLE failing ({KEY.format('failing')})",
                f"CREATE TABLE [{evil}] ({KEY.format('evil')}, [{evil}] nvarchar(200))",
                f"CREATE TABLE big ({KEY.format('big')}, a int, b nvarchar(20), c int)",
                "INSERT same VALUES (1), (2), (3), (4)",
                "CREATE TABLE digits (n int)",
                "INSERT digits VALUES (0),(1),(2),(3),(4),(5),(6),(7),(8),(9)",
                "INSERT big SELECT a.n * 10000 + b.n * 1000 + c.n * 100 + d.n * 10 + e.n, "
                f"{ord(name)}, N'row {name}', {ord(name)} FROM digits a CROSS JOIN digits b "
                "CROSS JOIN digits c CROSS JOIN digits d CROSS JOIN digits e",
                "DROP TABLE digits", database=name)
        few = "INSERT few VALUES (1, {}, {}, 7), (2, {}, N'', 7)"
        cls.program.run_sql(
            few.format(quoted("alpha"), quoted(LONG + "old" + LONG), "NULL"),
            "INSERT few VALUES (3, N'only here', NULL, NULL)",
            f"INSERT [{evil}] VALUES (1, {quoted(EVIL_CELL + '1')}), (2, N'a' + NCHAR(8238)), "
            "(3, N'x\U0001F600y')",
            "CREATE TABLE lonely (a int)", database="a")
        cls.program.run_sql(
            few.format(quoted("alpHa"), quoted(LONG + "new" + LONG), "N''"),
            f"INSERT [{evil}] VALUES (1, {quoted(EVIL_CELL + '2')}), (2, N'a'), "
            "(3, N'x\U0001F601y')",
            "ALTER TABLE same ADD extra int NULL", database="b")

        for name, kind, row in (("c", "nvarchar(20)", "N'one'"), ("d", "nvarchar(20)", "N'uno'"),
                                ("e", "nvarchar(20)", "NCHAR(28450)"), ("f", "varchar(20)", "''")):
            cls.program.run_sql(f"CREATE DATABASE {name}")
            cls.program.run_sql(f"CREATE TABLE t ({KEY.format('t')}, n {kind})",
                                f"INSERT t VALUES (1, {row})", database=name)
        cls.program.run_sql("INSERT t VALUES (2, N'<b>&\"')", database="c")

    @classmethod
    def report(cls, name, *options, databases="ab"):
        path = os.path.join(cls.folder, name)
        code, _, err = cls.program.call("compare", "--report", path, *options, databases=databases)
        assert f"Written: {path}" in err and code in (0, 1, 2, 3), err
        return "file://" + path

    def open(self, address):
        self.browser.get("about:blank")
        self.browser.get(address)

    def tearDown(self):
        self.assertEqual([entry["message"] for entry in self.browser.get_log("browser")], [])
        self.assertIsNone(self.browser.execute_script("return window.injected ?? null"))

    def all(self, selector):
        return self.browser.find_elements(By.CSS_SELECTOR, selector)

    def one(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def names(self):
        return [cell.text for cell in self.all("#tables td.name")]

    def click_on(self, selector, text):
        next(each for each in self.all(selector) if each.text == text).click()

    def open_table(self, address, name):
        self.open(address)
        self.click_on("#tables td.name button", f"[dbo].[{name}]")
        # The page follows its address, which changes a moment after the click.
        self.wait_for(lambda: self.all("h1 .name"))

    def test_the_list_tells_of_every_table(self):
        self.open(self.small)
        lines = [[cell.text for cell in row.find_elements(By.TAG_NAME, "td")][:8]
                 for row in self.all("#tables tbody tr")]
        self.assertEqual(lines, [
            ["[dbo].[failing]", "not compared", "–", "–", "–", "–", "–", "–"],
            [f"[dbo].[{EVIL}]", "different", "3", "3", "0", "3", "0", "0"],
            ["[dbo].[few]", "different", "3", "2", "0", "2", "1", "0"],
            ["[dbo].[same]", "columns differ", "4", "4", "4", "0", "0", "0"],
            ["[dbo].[lonely]", "only in 1", "–", "–", "–", "–", "–", "–"]])
        self.assertEqual(self.one("#table-count").text, "5 tables")
        self.assertEqual([each.text for each in self.all(".legend")],
                         ["3 different\n1 failed\n1 only in 1",
                          "4 identical\n5 different\n1 only in 1"])
        self.assertIn("see the tables that failed", self.one("#ending").text)

    def test_what_was_accepted_is_not_called_identical(self):
        self.open(self.accepted)
        self.assertEqual(self.one("#ending").text,
                         "No difference was found, but not everything could be compared.")

    def test_tables_that_a_script_leaves_out_are_named_beside_it(self):
        self.open(self.small)
        for side in (1, 2):
            self.assertEqual([each.text for each in self.script(side).find_elements(
                By.CSS_SELECTOR, "ul li")], ["[dbo].[failing]: it was not compared to its end"])
        self.open(self.accepted)
        self.assertNotIn("Left out", self.script(1).text)

    def test_clicks_sort_the_list_and_what_is_not_known_stays_last(self):
        self.open(self.small)
        failing, lonely = "[dbo].[failing]", "[dbo].[lonely]"
        few, same, evil = "[dbo].[few]", "[dbo].[same]", f"[dbo].[{EVIL}]"
        self.click_on("#tables th button", "Rows in 1")
        self.assertEqual(self.names(), [same, evil, few, failing, lonely])
        self.click_on("#tables th button", "Rows in 1")
        self.assertEqual(self.names(), [evil, few, same, failing, lonely])
        self.click_on("#tables th button", "Table")
        self.assertEqual(self.names(), [evil, failing, few, lonely, same])
        self.click_on("#tables th button", "Table")
        self.assertEqual(self.names(), [same, lonely, few, failing, evil])
        self.assertEqual([head.get_attribute("aria-sort") for head in self.all("#tables th")][:2],
                         ["descending", None])

    def test_the_list_is_filtered_by_text_and_by_verdict(self):
        self.open(self.small)
        self.one("#filter").send_keys("F")
        self.assertEqual(self.names(), ["[dbo].[failing]", "[dbo].[few]"])
        self.assertEqual(self.one("#table-count").text, "2 of 5 tables")
        self.one("input[value=failed]").click()
        self.assertEqual(self.names(), ["[dbo].[few]"])
        self.one("#filter").clear()
        self.one("#filter").send_keys("nothing")
        self.assertEqual(self.names(), [])

    def test_a_differing_row_shows_both_sides_and_marks_what_changed(self):
        self.open_table(self.small, "few")
        first = self.one(".row.different")
        self.assertEqual([each.text for each in first.find_elements(By.CSS_SELECTOR, ".column")],
                         ["name", "note"])
        self.assertEqual(
            [[side.text for side in first.find_elements(By.CSS_SELECTOR, f".in{number} mark")]
             for number in (1, 2)], [["h", "old"], ["H", "new"]])
        self.assertEqual(first.find_element(By.CSS_SELECTOR, ".pair .in2").text, "alpHa")
        left = first.find_element(By.CSS_SELECTOR, ".pair + .pair .in1")
        around = len(LONG) - 60
        self.assertEqual(left.text, f"… {around:,} more …{LONG[-60:]}old{LONG[:60]}… {around:,} "
                                    "more … show all")
        left.find_element(By.CSS_SELECTOR, "button").click()
        self.assertEqual(left.find_element(By.CSS_SELECTOR, ".value").get_attribute("textContent"),
                         LONG + "old" + LONG)
        self.one("#all-columns").click()
        columns = self.all(".row.different:first-child .column")
        self.assertEqual([each.text for each in columns], ["id", "name", "note", "n"])
        second = self.all(".row.different")[1]
        self.assertEqual([each.text for each in second.find_elements(By.CSS_SELECTOR, ".null")],
                         ["NULL", "empty", "empty", "empty"])

    def test_rows_of_one_side_and_the_choice_of_kinds(self):
        self.open_table(self.small, "few")
        self.assertEqual(self.one("#row-count").text, "3 rows")
        self.one("input[value=d]").click()
        self.assertEqual(self.one("#row-count").text, "1 row")
        row = self.one(".row")
        self.assertIn("only-in-1", row.get_attribute("class"))
        self.assertEqual([each.text for each in row.find_elements(By.CSS_SELECTOR, ".value")],
                         ["3", "only here", "NULL", "NULL"])
        self.one(".back").click()
        self.wait_for(lambda: self.all("#tables"))
        self.assertEqual(len(self.names()), 5)

    def test_what_was_not_compared_and_errors_are_told(self):
        self.open_table(self.small, "same")
        self.assertEqual([each.text for each in self.all("section, .wide td")][:2],
                         ["extra", "only in 2"])
        self.assertIn("No row differs.", self.one("#report").text)
        self.open_table(self.small, "failing")
        self.assertIn("An expression of non-boolean type", self.one(".error").text)
        self.assertNotIn("No row differs.", self.one("#report").text)

    def test_markup_in_data_shows_as_data(self):
        self.open_table(self.small, EVIL)
        self.assertEqual(self.one("h1 .name").text, f"[dbo].[{EVIL}]")
        self.assertEqual(self.all("img"), [])
        first, second, third = self.all(".row")
        self.assertEqual(first.find_element(By.CSS_SELECTOR, ".column").text, EVIL)
        self.assertEqual(first.find_element(By.CSS_SELECTOR, ".in1").text, EVIL_CELL + "1")
        self.assertEqual(first.find_element(By.CSS_SELECTOR, ".in2 mark").text, "2")
        self.assertEqual(second.find_element(By.CSS_SELECTOR, ".in1").text, "a\\u202E")
        # A character of two units is one.
        self.assertEqual([each.text for each in third.find_elements(By.TAG_NAME, "mark")],
                         ["\U0001F600", "\U0001F601"])

    def script(self, side):
        return self.one(f"#scripts [data-to='{side}']")

    def copy(self, side):
        button = self.script(side).find_element(By.CSS_SELECTOR, "button.copy")
        button.click()
        self.wait_for(lambda: button.text == "Copied")
        self.wait_for(lambda: button.text == "Copy")

    def pasted(self):
        """What the clipboard holds, by the keys that a person presses."""
        self.browser.execute_script(
            "const area = document.createElement('textarea'); area.id = 'pasted';"
            "document.body.append(area); area.focus();")
        area = self.one("#pasted")
        area.send_keys(Keys.CONTROL, "v")
        self.wait_for(lambda: area.get_property("value") != "")
        text = area.get_property("value")
        self.browser.execute_script("document.getElementById('pasted').remove()")
        return text

    def test_scripts_are_shown_and_copied(self):
        self.open(self.scripts)
        self.assertEqual([each.text for each in self.all("#scripts .card h2")],
                         ["Make 1 agree with 2", "Make 2 agree with 1"])
        self.assertIn("2 rows, ", self.script(2).text)
        body = self.script(2).find_element(By.TAG_NAME, "pre")
        self.assertFalse(body.is_displayed())
        self.script(2).find_element(By.TAG_NAME, "summary").click()
        self.wait_for(body.is_displayed)
        shown = body.get_attribute("textContent")
        self.assertIn("UPDATE", shown)
        self.copy(2)
        copied = self.pasted()
        self.assertEqual(copied.splitlines(), shown.splitlines())
        # It is the whole script: run, it brings the rows over.
        batches = [batch for batch in re.split(r"(?m)^GO$", copied) if batch.strip()]
        self.program.run_sql(*batches, database="d")
        self.assertEqual(self.program.call("compare", databases=("c", "d"))[0], 0)

    def test_a_script_is_copied_where_the_clipboard_is_kept_from_pages(self):
        self.open(self.scripts)
        self.browser.execute_script(
            "Object.defineProperty(navigator, 'clipboard', { value: undefined })")
        self.copy(1)
        self.assertIn("UPDATE", self.pasted())
        self.assertEqual(self.all("textarea"), [])

    def test_a_script_that_is_too_long_is_left_to_a_command(self):
        self.open(self.limited)
        self.assertIn("too long for this page", self.script(2).text)
        command = self.script(2).find_element(By.TAG_NAME, "code").text
        self.assertEqual(command, f"quillon script {self.program.address}/a {self.program.address}"
                                  "/b --user NAME --table big --guard --to 2 -o to2.sql")
        self.copy(2)
        self.assertEqual(self.pasted(), command)

    def test_a_script_that_cannot_be_written_says_why(self):
        self.open(self.unwritable)
        self.assertIn("Table [dbo].[t], column n: ", self.script(2).find_element(By.CSS_SELECTOR, ".error").text)
        self.assertEqual(self.script(2).find_elements(By.CSS_SELECTOR, "button"), [])

    def test_nothing_to_do_is_no_script(self):
        self.open(self.same)
        self.assertIn("There is nothing that a script could do.", self.script(1).text)
        self.assertEqual(self.script(1).find_elements(By.CSS_SELECTOR, "button"), [])

    def test_nothing_is_fetched(self):
        self.open(self.small)
        self.assertEqual(
            self.browser.execute_script("return performance.getEntriesByType('resource').length"), 0)

    def test_a_limit_is_told(self):
        self.open_table(self.limited, "big")
        self.assertEqual(self.one("#left-out").text,
                         "Shown are the first 3 of 100,000 rows that differ or stand on one side; "
                         "99,997 are left out (--report-limit).")
        self.assertEqual(len(self.all(".row")), 3)

    def test_a_hundred_thousand_rows_open_and_scroll(self):
        begun = time.monotonic()
        self.open_table(self.large, "big")
        self.assertEqual(self.one("#row-count").text, "100,000 rows")
        self.assertEqual(self.one(".row b").text, "0")
        self.assertLess(time.monotonic() - begun, 10)
        self.assertLess(len(self.all(".row")), 60)
        begun = time.monotonic()
        # Three columns differ: so many rows are higher than a browser draws.
        self.assertIn("1 to 50,000", self.one(".tools").text)
        self.assertFalse(self.all(".tools button")[0].is_enabled())
        self.click_on(".tools button", "Next")
        self.assertIn("50,001 to 100,000", self.one(".tools").text)
        self.assertFalse(self.all(".tools button")[1].is_enabled())
        self.assertEqual(self.keys()[0], "50000")
        self.browser.execute_script("window.scrollTo(0, document.body.scrollHeight)")
        self.wait_for(lambda: self.keys()[-1:] == ["99999"])
        self.browser.execute_script("window.scrollTo(0, document.body.scrollHeight / 2)")
        self.wait_for(lambda: any(74000 < int(key) < 76000 for key in self.keys()))
        self.assertLess(time.monotonic() - begun, 10)
        self.assertLess(len(self.all(".row")), 60)
        edges = self.browser.execute_script(
            "return [...document.querySelectorAll('.row')].map(each => "
            "[each.getBoundingClientRect().top, each.getBoundingClientRect().bottom])")
        for (_, bottom), (top, _) in zip(edges, edges[1:]):
            self.assertAlmostEqual(bottom, top, delta=0.6)

    def test_paper_gets_rows_one_below_the_other(self):
        self.open_table(self.large, "big")
        self.browser.execute_script("window.dispatchEvent(new Event('beforeprint'))")
        self.assertEqual(len(self.all(".row")), 500)
        self.assertEqual(self.one(".virtual p").get_attribute("textContent"),
                         "The first 500 of 50,000 rows are on paper.")
        self.browser.execute_script("window.dispatchEvent(new Event('afterprint'))")
        self.assertLess(len(self.all(".row")), 60)

    def test_colours_follow_the_system(self):
        def background(scheme):
            self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
                "features": [{"name": "prefers-color-scheme", "value": scheme}]})
            return self.one("body").value_of_css_property("background-color")

        self.open(self.small)
        self.assertEqual((background("light"), background("dark")),
                         ("rgba(247, 247, 248, 1)", "rgba(20, 23, 26, 1)"))
        background("light")

    def test_a_phone_needs_no_scrolling_sideways(self):
        self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": 390, "height": 844, "deviceScaleFactor": 1, "mobile": True})
        try:
            for show in (lambda: self.open(self.small), lambda: self.open_table(self.small, "few")):
                show()
                self.assertEqual(
                    self.browser.execute_script("return document.documentElement.scrollWidth"), 390)
        finally:
            self.browser.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})

    def keys(self):
        """Of the rows in view, at one moment."""
        return self.browser.execute_script(
            "return [...document.querySelectorAll('.row b')].map(each => each.textContent)")

    def wait_for(self, condition):
        for _ in range(200):
            if condition():
                return
            time.sleep(0.05)
        self.fail("it does not come")


if __name__ == "__main__":
    Report.path, Report.chromium, Report.chromedriver = (sys.argv.pop(1) for _ in range(3))
    unittest.main()
