"""A client in another language reads what the sandbox sends, in every version of the protocol.

Usage: pytds_test.py <the server program>
"""
import datetime
import decimal
import subprocess
import sys
import unittest
import uuid

import pytds
from pytds import tds_base

VERSIONS = {
    "7.1": tds_base.TDS71,
    "7.2": tds_base.TDS72,
    "7.3A": tds_base.TDS73A,
    "7.3B": tds_base.TDS73B,
    "7.4": tds_base.TDS74,
}
EAST = datetime.timezone(datetime.timedelta(minutes=120))

PLAIN = {
    "bit": True,
    "tinyint": 255,
    "smallint": -32768,
    "int": -2147483648,
    "bigint": -9223372036854775808,
    "decimal": decimal.Decimal("-1.2345678901"),
    "numeric": decimal.Decimal("7"),
    "money": decimal.Decimal("-1.5"),
    "smallmoney": decimal.Decimal("1.5"),
    "float": 0.1,
    "real": -0.25,
    "datetime": datetime.datetime(2024, 1, 15, 13, 45, 30, 120000),
    "smalldatetime": datetime.datetime(2024, 1, 15, 13, 45),
    "char": "\u20ac\u00e9  ",
    "varchar": "a?b",
    "text": "\u20ac",
    "nchar": "\u6f22 ",
    "nvarchar": "\u6f22\U0001F600",
    "ntext": "\u6f22",
    "varcharmax": "\u20ac",
    "nvarcharmax": "\u6f22",
    "xml": "<a>\u6f22</a>",
    "binary": b"ab",
    "varbinary": b"\xff",
    "varbinarymax": b"\x01",
    "image": b"\x02",
    "timestamp": b"12345678",
    "uniqueidentifier": uuid.UUID("33323130-3534-3736-3839-616263646566"),
    "variantint": 5,
    "variantdecimal": decimal.Decimal("123.45"),
    "variantchar": "\u20ac",
    "variantnchar": "\u6f22",
    "variantbinary": b"a",
    "variantguid": uuid.UUID("33323130-3534-3736-3839-616263646566"),
    "variantdatetime": datetime.datetime(1900, 1, 1),
}
DATES = {
    "date": datetime.date(2024, 1, 15),
    "time": datetime.time(13, 45, 30, 123456),
    "datetime2": datetime.datetime(2024, 1, 15, 13, 45, 30, 123456),
    "datetimeoffset": datetime.datetime(2024, 1, 15, 13, 45, 30, 123456, EAST),
    "varianttime": datetime.time(13, 45, 30, 123456),
}
DATE_TEXTS = {
    "date": "2024-01-15",
    "time": "13:45:30.1234560",
    "datetime2": "2024-01-15 13:45:30.1234560",
    "datetimeoffset": "2024-01-15 13:45:30.1234560 +02:00",
    "varianttime": "13:45:30.123456",
}


class Interop(unittest.TestCase):
    maxDiff = None
    program = None

    @classmethod
    def setUpClass(cls):
        cls.server = subprocess.Popen([cls.program], stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        cls.port = int(cls.server.stdout.readline())

    @classmethod
    def tearDownClass(cls):
        cls.server.stdin.close()
        cls.server.stdout.close()
        assert cls.server.wait(timeout=30) == 0

    def connect(self, version, password="sandbox", **more):
        return pytds.connect(
            dsn="127.0.0.1", port=self.port, user="sa", password=password, autocommit=True,
            tds_version=VERSIONS[version], login_timeout=10, timeout=20,
            disable_connect_retry=True, **more)

    def in_each_version(self, check):
        for version in VERSIONS:
            with self.subTest(version=version), self.connect(version) as connection:
                with connection.cursor() as cursor:
                    check(version, cursor)

    def test_version_is_agreed_on(self):
        for version, asked in VERSIONS.items():
            with self.subTest(version=version), self.connect(version) as connection:
                got = connection.tds_version
                # 7.1 is answered in its second revision.
                self.assertEqual(got, tds_base.TDS71rev1 if version == "7.1" else asked)

    def test_types(self):
        def check(version, cursor):
            cursor.execute("types")
            names = [column[0] for column in cursor.description]
            values = dict(zip(names, cursor.fetchone()))
            expected = PLAIN | (DATE_TEXTS if version in ("7.1", "7.2") else DATES)
            self.assertEqual(values, expected)
            self.assertEqual(cursor.fetchone(), (None,) * len(names))
            self.assertIsNone(cursor.fetchone())

        self.in_each_version(check)

    def test_many_rows(self):
        def check(_, cursor):
            cursor.execute("numbers")
            self.assertEqual([row[0] for row in cursor.fetchall()], list(range(100000)))

        self.in_each_version(check)

    def test_long_values(self):
        def check(_, cursor):
            cursor.execute("long")
            self.assertEqual(cursor.fetchone(), ("\u20ac" * 500000,) * 4)

        self.in_each_version(check)

    def test_several_results(self):
        def check(_, cursor):
            cursor.execute("several")
            sets = []
            while True:
                if cursor.description:
                    sets.append([row[0] for row in cursor.fetchall()])
                if not cursor.nextset():
                    break
            self.assertEqual(sets, [[0, 1], [0, 1, 2]])

        self.in_each_version(check)

    def test_errors(self):
        def check(_, cursor):
            with self.assertRaises(pytds.ProgrammingError) as caught:
                cursor.execute("wrong")
            self.assertEqual(caught.exception.msg_no, 102)
            self.assertEqual(caught.exception.severity, 16)
            self.assertIn("Incorrect syntax near 'wrong'.", str(caught.exception))
            cursor.execute("numbers")
            self.assertEqual(cursor.fetchone(), (0,))

        self.in_each_version(check)

    def test_error_after_rows(self):
        def check(_, cursor):
            with self.assertRaises(pytds.Error) as caught:
                cursor.execute("numbers and an error")
                for _row in cursor:
                    pass
            self.assertEqual(caught.exception.msg_no, 8134)

        self.in_each_version(check)

    def test_cancel(self):
        def check(_, cursor):
            cursor.execute("endless numbers")
            self.assertEqual(cursor.fetchone(), (0,))
            cursor.cancel()
            cursor.execute("several")
            self.assertIsNone(cursor.description)

        self.in_each_version(check)

    def test_parameters(self):
        def check(_, cursor):
            cursor.execute("parameters %s %s", (7, "it's \u6f22"))
            self.assertEqual(cursor.fetchall(), [(0,)])

        self.in_each_version(check)

    def test_transactions(self):
        for version in VERSIONS:
            with self.subTest(version=version), self.connect(version) as connection:
                connection.autocommit = False
                with connection.cursor() as cursor:
                    cursor.execute("numbers")
                connection.commit()
                with connection.cursor() as cursor:
                    cursor.execute("numbers")
                connection.rollback()

    def test_refused_login(self):
        for version in VERSIONS:
            with self.subTest(version=version):
                with self.assertRaises(pytds.OperationalError) as caught:
                    self.connect(version, password="wrong")
                self.assertIn("Login failed for user 'sa'.", str(caught.exception))


if __name__ == "__main__":
    Interop.program = sys.argv.pop(1)
    unittest.main()
