"""What compare and rows write for programs, read by readers that were not written here.

Usage: formats_test.py <the program> <docs/results.schema.json>
"""
import base64
import copy
import csv
import datetime
import io
import json
import os
import subprocess
import sys
import tempfile
import unittest

import jsonschema

from quillon import Program

TYPES = """CREATE TABLE types (
    id int NOT NULL CONSTRAINT PK_types PRIMARY KEY, big bigint, dec decimal(38, 10), cash money,
    f float, r real, b bit, tiny tinyint, small smallint, day date, hour time, moment datetime,
    minute smalldatetime, moment2 datetime2(7), away datetimeoffset(3), guid uniqueidentifier,
    bytes varbinary(10), wide nvarchar(40), page varchar(40),
    japanese varchar(10) COLLATE Japanese_CI_AS, tree xml)"""
# Every value as a script writes it, and as a reader of JSON is to find it.
VALUES = {
    "id": ("2", 2),
    "big": ("9223372036854775807", "9223372036854775807"),
    "dec": ("-1234567890123456789012345678.0123456789",
            "-1234567890123456789012345678.0123456789"),
    "cash": ("-922337203685477.5808", "-922337203685477.5808"),
    "f": ("1.7976931348623157e308", 1.7976931348623157e308),
    "r": ("0.1", 0.1),
    "b": ("1", True),
    "tiny": ("255", 255),
    "small": ("-32768", -32768),
    "day": ("'2024-02-29'", "2024-02-29"),
    "hour": ("'23:59:59.1234567'", "23:59:59.1234567"),
    "moment": ("'2024-02-29T23:59:59.997'", "2024-02-29T23:59:59.997"),
    "minute": ("'2024-02-29T23:59:00'", "2024-02-29T23:59:00.000"),
    "moment2": ("'0001-01-01T00:00:00.0000001'", "0001-01-01T00:00:00.0000001"),
    "away": ("'2024-02-29T23:59:59.123-05:30'", "2024-02-29T23:59:59.123-05:30"),
    "guid": ("'00112233-4455-6677-8899-aabbccddeeff'", "00112233-4455-6677-8899-AABBCCDDEEFF"),
    "bytes": ("0x00FF10", base64.b64encode(b"\x00\xff\x10").decode()),
    "wide": ("N'x' + NCHAR(55296) + N'y\"\\<' + NCHAR(8232) + N'\U0001F600'",
             "x\ud800y\"\\<\u2028\U0001F600"),
    "page": ("'a' + CHAR(129) + 'b,' + CHAR(13) + CHAR(10)", "a\x81b,\r\n"),
    "japanese": ("'abc'", "abc"),
    "tree": ("N'<a>\xe4</a>'", "<a>\xe4</a>"),
}


def strict(schema):
    """The schema without room for members that it does not name."""
    schema = copy.deepcopy(schema)
    kinds = schema["$defs"]
    for kind in kinds.values():
        if kind.get("type") == "object" and kind is not kinds["row"]:
            kind["additionalProperties"] = False
    # One object of two parts.
    kinds["comparedColumn"] = copy.deepcopy(kinds["column"])
    kinds["comparedColumn"]["properties"]["changedCells"] = {"$ref": "#/$defs/count"}
    kinds["comparedColumn"]["required"].append("changedCells")
    return schema


class Formats(unittest.TestCase):
    maxDiff = None
    path = None
    schema_file = None

    @classmethod
    def setUpClass(cls):
        with open(cls.schema_file, encoding="utf-8") as file:
            schema = json.load(file)
        jsonschema.Draft202012Validator.check_schema(schema)
        cls.loose = jsonschema.Draft202012Validator(schema)
        cls.validator = jsonschema.Draft202012Validator(strict(schema))
        cls.program = Program(cls.path)
        create = [
            TYPES,
            "CREATE TABLE same (id int NOT NULL CONSTRAINT PK_same PRIMARY KEY)",
            "INSERT same VALUES (1), (2)",
            "CREATE TABLE bag (n int NULL)",
            "CREATE TABLE noted (id int NOT NULL CONSTRAINT PK_noted PRIMARY KEY, n int, "
            "twice AS n * 2, r rowversion)",
            "INSERT noted (id, n) VALUES (1, 1)",
        ]
        for name in "ab":
            cls.program.run_sql(f"CREATE DATABASE {name}")
            cls.program.run_sql(*create, database=name)
        row = ", ".join(sql for sql, _ in VALUES.values())
        cls.program.run_sql(f"INSERT types VALUES ({row})",
                            "INSERT types (id, wide) VALUES (1, N'both')",
                            "INSERT bag VALUES (1), (1)",
                            "ALTER TABLE same ADD extra int NULL",
                            "CREATE TABLE mine (a int)", database="a")
        cls.program.run_sql("INSERT types (id, wide) VALUES (2, N'')",
                            "INSERT types (id, wide) VALUES (1, N'both'), (3, N'new')",
                            "INSERT bag VALUES (1), (NULL)", database="b")

    @classmethod
    def tearDownClass(cls):
        cls.program.close()

    def document(self, *options, exit_code):
        code, out, err = self.program.call("compare", "--format", "json", *options)
        self.assertEqual(code, exit_code, err)
        document = json.loads(out)
        for validator in (self.loose, self.validator):
            validator.validate(document)
        self.assertEqual(document["exitCode"], code)
        return document

    def lines(self, *options, exit_code):
        code, out, err = self.program.call("rows", *options, "--format", "json")
        self.assertEqual(code, exit_code, err)
        self.assertTrue(out.endswith(b"}\n"))
        lines = [json.loads(line) for line in out.decode("utf-8").splitlines()]
        for line in lines:
            for validator in (self.loose, self.validator):
                validator.validate(line)
        self.assertEqual(lines[0]["kind"], "head")
        self.assertEqual(lines[-1]["kind"], "end")
        self.assertEqual(lines[-1]["exitCode"], code)
        return lines

    def batch(self, text, *options, exit_code):
        """The lines of a batch: those of the pairs by name, and the last."""
        with tempfile.TemporaryDirectory() as folder:
            file = os.path.join(folder, "b.ini")
            with open(file, "w", encoding="utf-8") as stream:
                stream.write(text)
            done = subprocess.run(
                [self.path, "batch", file, "--format", "json", *options], capture_output=True,
                timeout=120, env=os.environ | {"QUILLON_PASSWORD": "sandbox"}, check=False)
        self.assertEqual(done.returncode, exit_code, done.stderr)
        lines = [json.loads(line) for line in done.stdout.decode("utf-8").splitlines()]
        for line in lines:
            for validator in (self.loose, self.validator):
                validator.validate(line)
        return {line["name"]: line for line in lines[:-1]}, lines[-1]

    @staticmethod
    def table(document, name):
        return next(each for each in document["tables"] if each["table"] == f"[dbo].[{name}]")

    def test_the_check_of_documents_can_fail(self):
        document = self.document("-t", "same", exit_code=1)
        for spoil in (lambda d: d.pop("exitCode"), lambda d: d.update(more=1),
                      lambda d: d["tables"][0].update(rowsIn1="2"),
                      lambda d: d["tables"][0]["columns"][0].update(more=1)):
            spoilt = copy.deepcopy(document)
            spoil(spoilt)
            with self.assertRaises(jsonschema.ValidationError):
                self.validator.validate(spoilt)

    def test_a_document_says_what_was_found(self):
        before = datetime.datetime.now(datetime.timezone.utc)
        document = self.document(exit_code=1)
        after = datetime.datetime.now(datetime.timezone.utc)
        started = datetime.datetime.fromisoformat(document["started"].replace("Z", "+00:00"))
        slack = datetime.timedelta(seconds=1)
        self.assertTrue(before - slack <= started <= after, (before, started, after))
        self.assertEqual(document["road"], "direct")
        self.assertEqual(document["databases"],
                         [{"server": self.program.address, "database": name} for name in "ab"])
        self.assertEqual(document["onlyIn1"], ["[dbo].[mine]"])
        self.assertEqual(document["onlyIn2"], [])
        self.assertEqual(document["totals"],
                         {"tables": 4, "identical": 0, "different": 3, "notWhole": 1, "failed": 0,
                          "onlyIn1": 1, "onlyIn2": 0, "columnsNotCompared": 3})
        types = self.table(document, "types")
        self.assertEqual(
            [types[name] for name in ("rowsIn1", "rowsIn2", "identical", "differing", "onlyIn1",
                                      "onlyIn2")], [2, 3, 1, 1, 0, 1])
        self.assertEqual(types["key"], ["id"])
        self.assertEqual({column["name"]: column["changedCells"] for column in types["columns"]},
                         {name: 0 if name == "id" else 1 for name in VALUES})
        self.assertEqual(types["columns"][2]["typeIn1"], "decimal(38,10)")

    def test_a_batch_has_a_line_for_each_pair_and_one_for_all(self):
        place = self.program.address
        pairs, end = self.batch(
            f"[one]\ndatabase1 = {place}/a\ndatabase2 = {place}/b\nuser = sa\ntable = types\n"
            f"description = \u2028 \U0001F600\n"
            f"[gone]\ndatabase1 = {place}/a\ndatabase2 = {place}/none\nuser = sa\n"
            f"[self]\ndatabase1 = {place}/a\ndatabase2 = {place}/a\nuser = sa\ntable = same\n",
            exit_code=2)
        self.assertEqual({name: (line["position"], line["outcome"], line["exitCode"])
                          for name, line in pairs.items()},
                         {"one": (1, "different", 1), "gone": (2, "failed", 2),
                          "self": (3, "identical", 0)})
        self.assertEqual(pairs["one"]["description"], "\u2028 \U0001F600")
        self.assertEqual(self.table(pairs["one"]["results"], "types")["differing"], 1)
        self.assertIsNone(pairs["one"]["error"])
        self.assertIsNone(pairs["gone"]["results"])
        self.assertIn("none", pairs["gone"]["error"])
        self.assertEqual(pairs["self"]["results"]["totals"]["identical"], 1)
        self.assertEqual({name: end[name] for name in (
            "pairs", "identical", "notWhole", "different", "failed", "brokenOff", "notRun",
            "exitCode")}, {"pairs": 3, "identical": 1, "notWhole": 0, "different": 1, "failed": 1,
                           "brokenOff": 0, "notRun": 0, "exitCode": 2})

    def test_nobody_is_told_a_number_that_nobody_counted(self):
        bag = self.table(self.document("-t", "bag", exit_code=1), "bag")
        self.assertEqual(bag["key"], [])
        self.assertEqual([column["changedCells"] for column in bag["columns"]], [None])
        self.assertEqual((bag["identical"], bag["onlyIn1"], bag["onlyIn2"]), (1, 1, 1))
        counted = self.table(self.document("-t", "bag", "--by-server", exit_code=3), "bag")
        self.assertEqual(counted["verdict"], "not-whole")
        self.assertEqual(
            [counted[name] for name in ("rowsIn1", "rowsIn2", "identical", "differing", "onlyIn1",
                                        "onlyIn2")], [2, 2, None, None, None, None])
        types = self.table(self.document("-t", "types", "--by-server", exit_code=1), "types")
        self.assertEqual({column["changedCells"] for column in types["columns"]}, {None})
        self.assertEqual(types["columnsNotCompared"],
                         [{"name": "tree", "why": "not-comparable",
                           "reason": "the server does not compare values of type xml"}])

    def test_a_table_that_failed_has_an_error_and_no_numbers(self):
        document = self.document("-t", "types", "--where", "types=nonsense", exit_code=2)
        types = document["tables"][0]
        self.assertEqual(types["verdict"], "failed")
        self.assertEqual(
            {types[name] for name in ("rowsIn1", "rowsIn2", "identical", "differing", "onlyIn1",
                                      "onlyIn2")}, {None})
        self.assertIsInstance(types["error"]["number"], int)
        self.assertIn("non-boolean", types["error"]["text"])
        self.assertEqual(document["totals"]["failed"], 1)

    def test_what_was_left_out_is_named(self):
        for road in ([], ["--by-server"]):
            with self.subTest(road=road):
                noted = self.table(self.document("-t", "noted", *road, exit_code=3), "noted")
                self.assertEqual([(each["name"], each["why"])
                                  for each in noted["columnsNotCompared"]],
                                 [("twice", "computed"), ("r", "row-version")])
                same = self.table(self.document("-t", "same", *road, exit_code=1), "same")
                self.assertEqual(same["columnsNotCompared"],
                                 [{"name": "extra", "why": "only-in-1", "reason": None}])
        ignored = self.table(
            self.document("-t", "noted", "--ignore", "n", "--where", "noted=id < 5",
                          "--ignore-case", exit_code=3), "noted")
        self.assertEqual(ignored["columnsNotCompared"][0],
                         {"name": "n", "why": "ignored", "reason": "it is ignored, as asked for"})
        self.assertEqual(ignored["condition"], "id < 5")

    def test_only_different_lists_fewer_and_counts_all(self):
        document = self.document("-t", "noted", "-t", "same", "--only-different",
                                 "--accept-uncompared", exit_code=1)
        self.assertEqual(document["totals"]["tables"], 2)
        accepted = self.document("-t", "noted", "--accept-uncompared", exit_code=0)
        self.assertEqual(accepted["tables"][0]["verdict"], "not-whole")

    def test_a_failure_leaves_no_document(self):
        code, out, err = self.program.call("compare", "--format", "json", databases=("a", "none"))
        self.assertEqual((code, out), (2, b""))
        self.assertTrue(err)

    def test_a_wrong_format_names_the_choices(self):
        code, out, err = self.program.call("compare", "--format", "xml")
        self.assertEqual((code, out), (2, b""))
        for name in ("xml", "table", "json", "csv", "markdown"):
            self.assertIn(name, err)

    def test_values_come_back_exactly(self):
        for road in ([], ["--by-server"]):
            with self.subTest(road=road):
                lines = self.lines("types", *road, exit_code=1)
                self.assertEqual([line["kind"] for line in lines],
                                 ["head", "different", "only-in-2", "end"])
                differing = lines[1]
                self.assertEqual(differing["row1"], {name: value
                                                     for name, (_, value) in VALUES.items()})
                self.assertEqual(differing["row2"],
                                 {name: None for name in VALUES} | {"id": 2, "wide": ""})
                self.assertEqual(set(differing["changed"]), set(VALUES) - {"id"})
                self.assertEqual(lines[2]["row2"]["id"], 3)
                self.assertNotIn("row1", lines[2])
                self.assertEqual(lines[3]["shown"], {"identical": 0, "different": 1,
                                                     "only-in-1": 0, "only-in-2": 1})

    def test_identical_rows_are_told_from_one_side(self):
        lines = self.lines("types", "--identical", exit_code=1)
        self.assertEqual([line["kind"] for line in lines], ["head", "identical", "end"])
        self.assertEqual(lines[1]["row2"]["wide"], "both")
        lines = self.lines("types", "--identical", "--by-server", exit_code=1)
        self.assertEqual(lines[1]["row1"]["wide"], "both")

    def test_a_limit_leaves_the_rest_uncounted(self):
        end = self.lines("types", "--different", "--limit", "1", exit_code=1)[-1]
        self.assertEqual(end["counted"], {"identical": None, "different": None,
                                          "only-in-1": None, "only-in-2": None})
        self.assertIsNone(end["verdict"])
        end = self.lines("types", "--different", exit_code=1)[-1]
        self.assertEqual(end["counted"]["identical"], 1)

    def test_a_key_that_is_not_unique_leaves_rows_uncounted(self):
        self.program.run_sql("CREATE TABLE loose (id int NOT NULL CONSTRAINT UQ_loose UNIQUE, n int)",
                             "INSERT loose VALUES (1, 1)", database="a")
        self.program.run_sql("CREATE TABLE loose (id int NOT NULL, n int)",
                             "INSERT loose VALUES (1, 2)", database="b")
        try:
            end = self.lines("loose", "--by-server", exit_code=1)[-1]
            self.assertEqual(end["shown"]["different"], 1)
            self.assertEqual(set(end["counted"].values()), {None})
            loose = self.table(self.document("-t", "loose", "--by-server", exit_code=1), "loose")
            self.assertEqual((loose["differing"], loose["identical"], loose["onlyIn1"]),
                             (1, None, None))
        finally:
            for name in "ab":
                self.program.run_sql("DROP TABLE loose", database=name)

    def test_a_zero_keeps_its_sign_and_a_variant_its_type(self):
        create = ("CREATE TABLE odd (id int NOT NULL CONSTRAINT PK_odd PRIMARY KEY, f float, "
                  "v sql_variant)")
        for name in "ab":
            self.program.run_sql(create, database=name)
        try:
            self.program.run_sql(
                "INSERT odd VALUES (1, -0e0, CAST(5 AS bigint)), (2, 0e0, NULL)",
                database="a")
            first, second = self.lines("odd", exit_code=1)[1:-1]
            self.assertEqual(str(first["row1"]["f"]), "-0.0")
            self.assertNotEqual(str(second["row1"]["f"]), "-0.0")
            self.assertEqual(first["row1"]["v"], "CAST(5 AS bigint)")
        finally:
            for name in "ab":
                self.program.run_sql("DROP TABLE odd", database=name)

    def test_nothing_that_a_terminal_obeys_is_written(self):
        _, out, _ = self.program.call("rows", "types", "--format", "json")
        self.assertIn(b"x\\ud800y\\\"\\\\<\\u2028\xf0\x9f\x98\x80", out)
        self.assertIn(b"a\\u0081b,\\r\\n", out)

    def csv(self, *arguments, exit_code):
        code, out, err = self.program.call(*arguments, "--format", "csv")
        self.assertEqual(code, exit_code, err)
        self.assertTrue(out.endswith(b"\r\n"))
        return out, list(csv.reader(io.StringIO(out.decode("utf-8"), newline=""), strict=True))

    def test_tables_as_csv(self):
        _, lines = self.csv("compare", exit_code=1)
        self.assertEqual({len(line) for line in lines}, {12})
        by_table = {line[0]: dict(zip(lines[0], line)) for line in lines[1:]}
        self.assertEqual(set(by_table), {f"[dbo].[{name}]" for name in
                                         ("bag", "mine", "noted", "same", "types")})
        self.assertEqual(by_table["[dbo].[mine]"]["verdict"], "only-in-1")
        self.assertEqual(by_table["[dbo].[mine]"]["rows_in_1"], "")
        self.assertEqual(by_table["[dbo].[types]"]["rows_in_2"], "3")
        self.assertEqual(by_table["[dbo].[noted]"]["not_compared"],
                         "column [twice]: it is computed\n"
                         "column [r]: a row version differs by nature")

    def test_rows_as_csv(self):
        self.program.run_sql("UPDATE types SET wide = N' a\"b' + NCHAR(8232) WHERE id = 2",
                             database="a")
        try:
            for road in ([], ["--by-server"]):
                with self.subTest(road=road):
                    out, lines = self.csv("rows", "types", *road, exit_code=1)
                    names = ["kind", "side", "changed", *VALUES]
                    self.assertEqual(lines[0], names)
                    self.assertEqual([line[:2] for line in lines[1:]],
                                     [["different", "1"], ["different", "2"], ["only-in-2", "2"]])
                    texts = {name: str(value) for name, (_, value) in VALUES.items()}
                    texts |= {"f": "1.7976931348623157E308", "b": "1", "bytes": "0x00FF10",
                              "wide": " a\"b\u2028"}
                    row = dict(zip(names, lines[1]))
                    self.assertEqual(float(row["f"]), VALUES["f"][1])
                    row["f"] = texts["f"]
                    changed = "".join(f"[{name}]" for name in VALUES if name != "id")
                    self.assertEqual(row, {"kind": "different", "side": "1", "changed": changed}
                                     | texts)
                    # NULL has nothing between its commas, the empty text has quotes.
                    nulls = "," * (list(VALUES).index("wide") - 1)
                    after = "," * (len(VALUES) - list(VALUES).index("wide") - 1)
                    expected = f'different,2,{changed},2,{nulls}""{after}\r\n'
                    self.assertIn(expected.encode(), out)
        finally:
            self.program.run_sql(f"UPDATE types SET wide = {VALUES['wide'][0]} WHERE id = 2",
                                 database="a")

    def test_half_a_surrogate_pair_is_refused_by_csv(self):
        code, _, err = self.program.call("rows", "types", "--format", "csv")
        self.assertEqual(code, 2)
        self.assertIn("[wide]", err)
        self.assertIn("--format json", err)


if __name__ == "__main__":
    Formats.path, Formats.schema_file = sys.argv.pop(1), sys.argv.pop(1)
    unittest.main()
