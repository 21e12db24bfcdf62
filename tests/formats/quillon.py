"""What the tests of the program's documents share: a server with databases, and calls."""
import os
import subprocess

import pytds


class Program:
    """The program, and a sandbox that it runs."""

    def __init__(self, program):
        self.program = program
        self.server = subprocess.Popen([program, "sandbox"], stdout=subprocess.PIPE, text=True)
        line = self.server.stdout.readline()
        self.port = int(line.rsplit(",", 1)[1])
        self.address = f"127.0.0.1,{self.port}"

    def close(self):
        self.server.terminate()
        self.server.stdout.close()
        self.server.wait(timeout=30)

    def run_sql(self, *batches, database="master"):
        with pytds.connect(dsn="127.0.0.1", port=self.port, user="sa", password="sandbox",
                           database=database, autocommit=True, login_timeout=30,
                           timeout=60) as connection:
            with connection.cursor() as cursor:
                for batch in batches:
                    cursor.execute(batch)

    def call(self, *arguments, databases=("a", "b")):
        """The exit code, standard output (bytes) and standard error (text)."""
        places = [f"{self.address}/{name}" for name in databases]
        done = subprocess.run(
            [self.program, *arguments, *places, "--user", "sa"], capture_output=True, timeout=120,
            env=os.environ | {"QUILLON_PASSWORD": "sandbox"}, check=False)
        return done.returncode, done.stdout, done.stderr.decode()
