"""What the documents say that one can type is typed here, against two sandboxes."""
import os
import pathlib
import re
import shutil
import socket
import subprocess
import sys
import tempfile
import unittest

# Beside the tests of the formats.
sys.path.insert(0, str(pathlib.Path(__file__).parent.parent / "formats"))
import quillon  # noqa: E402

ROOT = pathlib.Path(__file__).parent.parent.parent
PROGRAM = ""
FIRST = ""
DOCUMENTS = [ROOT / "README.md", ROOT / "CONTRIBUTING.md", *sorted((ROOT / "docs").glob("*.md"))]

TABLES = [
    "CREATE LOGIN reader WITH PASSWORD = 'sandbox'",
    "CREATE LOGIN writer WITH PASSWORD = 'sandbox'",
]
DATABASE = [
    "CREATE TABLE customer (id int NOT NULL CONSTRAINT PK_customer PRIMARY KEY,"
    " name nvarchar(50) NULL, city nvarchar(50) NULL)",
    "CREATE TABLE invoice (id int NOT NULL CONSTRAINT PK_invoice PRIMARY KEY, customer int NULL,"
    " amount decimal(12,2) NULL)",
    "CREATE TABLE orders (id int NOT NULL CONSTRAINT PK_orders PRIMARY KEY, placed datetime NULL,"
    " changed_at datetime NULL)",
    "CREATE TABLE session (id int NOT NULL CONSTRAINT PK_session PRIMARY KEY)",
    "CREATE TABLE log_2026 (at datetime NULL)",
    "CREATE USER reader FOR LOGIN reader", "CREATE USER writer FOR LOGIN writer",
    "GRANT SELECT TO reader", "GRANT SELECT, INSERT, UPDATE, DELETE TO writer",
]
SAME = [f"INSERT customer VALUES ({10 + i}, N'c', N'd'); INSERT invoice VALUES ({10 + i}, 1, 5)"
        for i in range(10)]
ROWS = {
    1: ["INSERT customer VALUES (1, N'Ada', N'Oslo'), (2, N'Bo', N'Lima'), (3, N'Cy', N'Rome')",
        "INSERT invoice VALUES (1, 1, 10.50), (2, 2, 20)", *SAME],
    2: ["INSERT customer VALUES (1, N'Ada', N'Oslo'), (2, N'Bob', N'Lima'), (4, N'Di', N'Bonn')",
        "INSERT invoice VALUES (1, 1, 10.50)", *SAME],
}


def blocks(text):
    """The indented blocks of a document, as lists of lines."""
    found, block = [], []
    for line in text.splitlines() + [""]:
        if line.startswith("    "):
            block.append(line[4:])
        elif not line and block and block[-1]:
            block.append("")
        else:
            if block:
                found.append([part for part in block])
            block = []
    return found


def commands(document):
    """Lines that one types: those of indented blocks that begin with the program's name. A sandbox
    runs until it is ended, and has a test of its own."""
    return [line for line in typed_lines(document) if not line.startswith("quillon sandbox")]


def typed_lines(document):
    return [line for block in blocks(document.read_text()) for line in block
            if line.startswith("quillon ")]


def free_port():
    with socket.socket() as held:
        held.bind(("127.0.0.1", 0))
        return held.getsockname()[1]


class Documents(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)
        self.servers = [quillon.Program(PROGRAM), quillon.Program(PROGRAM)]
        for server in self.servers:
            self.addCleanup(server.close)
        for number, server in enumerate(self.servers, 1):
            server.run_sql(*TABLES)
            copies = ["sales_copy", "stock", "stock_copy"]
            for name in ["sales", *copies] if number == 1 else ["sales"]:
                server.run_sql(f"CREATE DATABASE {name}")
                server.run_sql(*DATABASE, *ROWS[2 if name.endswith("_copy") else number],
                               database=name)
        self.make_home()

    def make_home(self):
        """The user's folder: the connections of the document, and a password manager."""
        home = pathlib.Path(self.folder)
        text = (ROOT / "docs" / "connecting.md").read_text()
        files = [block for block in blocks(text) if "[sales]" in block]
        self.assertEqual(len(files), 1)
        lines = [line for line in files[0] if not line.startswith("quillon ")]
        (home / "quillon").mkdir()
        # A sandbox cannot encrypt, and "require" would rightly refuse to log in.
        text = self.here("\n".join(lines) + "\n").replace("= require", "= request")
        (home / "quillon" / "connections.ini").write_text(text)
        (home / "bin").mkdir()
        store = home / "bin" / "pass"
        store.write_text("#!/bin/sh\n[ \"$1\" = show ] && echo sandbox\n")
        store.chmod(0o755)
        # A copy: its templates stand beside it.
        shutil.copy(PROGRAM, home / "bin" / "quillon")
        lists = [block for block in blocks((ROOT / "docs" / "batch.md").read_text())
                 if "[sales]" in block]
        self.assertEqual(len(lists), 1)
        (home / "nightly.ini").write_text(self.here("\n".join(lists[0]) + "\n"))
        self.environment = os.environ | {
            "XDG_CONFIG_HOME": self.folder, "PATH": f"{home}/bin:{os.environ['PATH']}",
            "QUILLON_PASSWORD": "sandbox", "DB2_PASSWORD": "sandbox", "PAGER": ""}

    def here(self, text):
        """The same with the sandboxes in place of the servers that documents speak of."""
        first, second = (server.address for server in self.servers)
        text = text.replace("127.0.0.1,14330", first).replace("127.0.0.1,14331", second)
        return re.sub(r"\bdb[13]?\.example\.org(,\d+)?", first,
                      re.sub(r"\bdb2\.example\.org(,\d+)?", second, text))

    def type(self, line):
        # sync asks on a terminal, and whoever reads the document says yes.
        if line.startswith("quillon sync") and not re.search("--yes|--dry-run", line):
            line += " --yes"
        return subprocess.run(["bash", "-c", self.here(line)], cwd=self.folder,
                              stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              timeout=120, check=False, env=self.environment)

    def test_commands(self):
        for document in DOCUMENTS:
            typed = commands(document)
            for line in typed:
                with self.subTest(document=document.name, command=line):
                    done = self.type(line)
                    self.assertIn(done.returncode, (0, 1, 3), done.stdout + done.stderr)

    def test_there_are_commands(self):
        typed = {document.name: len(commands(document)) for document in DOCUMENTS}
        self.assertGreaterEqual(typed["README.md"], 5)
        self.assertGreaterEqual(typed["production.md"], 4)
        self.assertGreaterEqual(typed["templates.md"], 7)
        self.assertGreaterEqual(typed["connecting.md"], 1)
        self.assertGreaterEqual(typed["batch.md"], 1)

    def test_the_sandboxes_of_the_readme(self):
        """On ports of this test, and with all that the document then does to them."""
        lines = typed_lines(ROOT / "README.md")
        ports = {"14330": str(free_port()), "14331": str(free_port())}

        def typed(line):
            for shown, port in ports.items():
                line = line.replace(shown, port)
            return line

        for line in lines:
            if not line.startswith("quillon sandbox"):
                continue
            server = subprocess.Popen([PROGRAM, *typed(line).split()[1:]], cwd=ROOT,
                                      stdout=subprocess.PIPE, text=True)
            self.addCleanup(server.stdout.close)
            self.addCleanup(server.wait, 30)
            self.addCleanup(server.terminate)
            self.assertIn("listens on 127.0.0.1,", server.stdout.readline())
        done = [self.type(typed(line)) for line in lines
                if "14330/sales" in line or "14331/sales" in line]
        self.assertEqual([each.returncode for each in done], [1, 1, 0], done)
        self.assertIn("2 tables: 0 identical, 2 different", done[0].stdout)
        self.assertTrue((pathlib.Path(self.folder) / "report.html").exists())
        again = self.type(typed(next(line for line in lines if "14330/sales" in line)))
        self.assertIn("2 tables: 2 identical, 0 different", again.stdout)

    def test_the_program_of_the_readme(self):
        text = (ROOT / "README.md").read_text()
        shown = re.search(r"```cpp\n(.*?)```", text, re.S).group(1)
        self.assertEqual(shown, (ROOT / "examples" / "first.cpp").read_text())
        first, second = (server.address for server in self.servers)
        done = subprocess.run([FIRST, first, "sales", second, "sales", "customer", "reader"],
                              capture_output=True, text=True, timeout=60, check=False,
                              env=self.environment)
        self.assertEqual((done.returncode, done.stderr),
                         (0, "1 differ, 1 only in 1, 1 only in 2\n"))
        self.assertIn("INSERT INTO [dbo].[customer]", done.stdout)


class Text(unittest.TestCase):
    def test_links(self):
        for document in DOCUMENTS:
            text = re.sub(r"```.*?```", "", document.read_text(), flags=re.S)
            for target in re.findall(r"\]\(([^)#]+)[^)]*\)", text):
                if "://" not in target:
                    with self.subTest(document=document.name, target=target):
                        self.assertTrue((document.parent / target).exists())

    def test_options(self):
        """Every option that a document names is one of some command's."""
        names = re.findall(r"^  (\w+)", subprocess.run(
            [PROGRAM, "--help"], capture_output=True, text=True, check=True).stdout, re.M)
        known = set()
        for name in ["", *names]:
            text = subprocess.run([PROGRAM, "help", name] if name else [PROGRAM, "--help"],
                                  capture_output=True, text=True, check=False).stdout
            known |= set(re.findall(r"--[a-z][a-z0-9-]*", text))
        self.assertIn("--table", known)
        others = {"--build", "--preset", "--install", "--prefix", "--target", "--fix", "--cflags",
                  "--libs", "--static", "--gtest", "--without-root"}  # of other programs
        for document in DOCUMENTS:
            for option in set(re.findall(r"(?<![\w-])--[a-z][a-z0-9-]*", document.read_text())):
                with self.subTest(document=document.name, option=option):
                    self.assertIn(option, known | others)

    def test_settings_of_batches(self):
        """The table of settings names what is accepted, and nothing else."""
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder) / "list.ini"

            def is_accepted(name):
                file.write_text(f"[p]\n{name} =\n")
                done = subprocess.run([PROGRAM, "batch", file], capture_output=True, text=True,
                                      check=False)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertIn("line 2: ", done.stderr)
                return done.stderr.endswith(f"'{name}' has no value\n")

            text = (ROOT / "docs" / "batch.md").read_text()
            table = text[text.index("| setting |"):].split("\n\n")[0]
            told = {name for line in table.splitlines()[2:]
                    for name in re.findall("`([^`]+)`", line.split("|")[1])}
            options = subprocess.run([PROGRAM, "help", "compare"], capture_output=True, text=True,
                                     check=True).stdout
            names = set(re.findall(r"--([a-z][a-z0-9-]*)", options))
            self.assertIn("log", names)
            accepted = {name for name in names | {"database1", "database2", "description"}
                        if is_accepted(name)}
            self.assertEqual(told, accepted)


if __name__ == "__main__":
    PROGRAM, FIRST = sys.argv[1:3]
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
