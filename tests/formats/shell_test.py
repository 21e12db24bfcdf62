"""What the program prints for a shell and for man, read by a real bash and by groff."""
import subprocess
import sys
import unittest

PROGRAM = ""


def quillon(*arguments):
    done = subprocess.run([PROGRAM, *arguments], capture_output=True, text=True, timeout=60,
                          check=False)
    return done.returncode, done.stdout, done.stderr


def completed(*words):
    """What bash offers for the last word."""
    script = quillon("completion", "bash")[1] + """
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
_quillon
printf '%s\\n' "${COMPREPLY[@]}"
"""
    done = subprocess.run(["bash", "-u", "-c", script, "bash", *words], capture_output=True,
                          text=True, timeout=60, check=True)
    return done.stdout.split()


class Completion(unittest.TestCase):
    def test_commands(self):
        commands = completed("quillon", "")
        for command in ("compare", "rows", "script", "sync", "template", "sandbox", "completion"):
            self.assertIn(command, commands)
        self.assertEqual(completed("quillon", "comp"), ["compare", "completion"])

    def test_options_of_a_command(self):
        self.assertEqual(completed("quillon", "sync", "--max"), ["--max-changes", "--max-percent"])
        self.assertEqual(completed("quillon", "compare", "a/b", "c/d", "--integ"),
                         ["--integrated", "--integrated2"])
        self.assertEqual(completed("quillon", "compare", "--max"), [])

    def test_commands_of_a_command(self):
        self.assertEqual(completed("quillon", "template", "li"), ["list"])
        self.assertIn("list", completed("quillon", "template", ""))
        self.assertEqual(completed("quillon", "template", "new", "--v"), ["--via"])
        self.assertEqual(completed("quillon", "template", "list", "--v"), [])

    def test_the_file_of_templates_stands_before_or_behind_the_command(self):
        front = ("quillon", "template", "--templates")
        self.assertEqual(completed("quillon", "template", "--te"), ["--templates"])
        self.assertEqual(completed("quillon", "template", "use", "x", "--te"), ["--templates"])
        self.assertEqual(completed(*front, ""), [])
        self.assertEqual(completed(*front, "a b.xml", "li"), ["list"])
        self.assertEqual(completed(*front, "a b.xml", "new", "--v"), ["--via"])

    def test_choices(self):
        self.assertEqual(completed("quillon", "compare", "--format", ""),
                         ["table", "json", "csv", "markdown"])
        self.assertEqual(completed("quillon", "sync", "--to", ""), ["1", "2"])
        self.assertEqual(completed("quillon", "rows", "--encryption", "re"),
                         ["request", "require"])

    def test_files(self):
        # Nothing of the script's own, so that bash offers files, which may hold blanks.
        self.assertEqual(completed("quillon", "compare", "--config", ""), [])

    def test_a_shell_that_is_not_known_is_refused(self):
        code, out, err = quillon("completion", "cmd")
        self.assertEqual((code, out), (2, ""))
        self.assertIn("bash", err)

    def test_bash_finds_it(self):
        script = quillon("completion", "bash")[1] + "complete -p quillon"
        done = subprocess.run(["bash", "-c", script], capture_output=True, text=True, check=True,
                              timeout=60)
        self.assertEqual(done.stdout.strip(), "complete -o default -F _quillon quillon")

    def test_the_others_name_every_command(self):
        for shell in ("zsh", "fish"):
            code, out, _ = quillon("completion", shell)
            self.assertEqual(code, 0)
            for word in ("compare", "sync", "max-percent", "markdown"):
                self.assertIn(word, out)

    def test_fish_offers_each_option_once_behind_a_command_within(self):
        lines = [line for line in quillon("completion", "fish")[1].splitlines()
                 if "-l templates" in line and "seen_subcommand_from template" in line]
        outer = [line for line in lines if "; and __fish_seen_subcommand_from" not in line]
        self.assertGreater(len(lines), 5)
        self.assertEqual(len(outer), 1)
        self.assertIn("template; and not __fish_seen_subcommand_from list show new", outer[0])


class Manual(unittest.TestCase):
    def page(self, *command):
        code, source, err = quillon("help", *command, "--man")
        self.assertEqual((code, err), (0, ""))
        shown = subprocess.run(["groff", "-man", "-ww", "-Tascii", "-P-cbou"], input=source,
                               capture_output=True, text=True, timeout=60, check=True)
        self.assertEqual(shown.stderr, "")
        return " ".join(shown.stdout.split())

    def test_every_command_has_a_page_without_a_warning(self):
        commands = completed("quillon", "")
        self.assertGreater(len(commands), 10)
        for command in commands:
            self.assertIn("quillon-" + command + " -", self.page(command))

    def test_what_a_page_says(self):
        page = self.page("sync")
        for text in ("QUILLON-SYNC(1)", "quillon sync [OPTIONS] [database1] [database2]",
                     "--max-changes N", "--to 1|2", "Refuse to change more rows than this",
                     "Exit codes: 0 all that was asked for"):
            self.assertIn(text, page)

    def test_the_page_of_the_program_lists_the_commands(self):
        page = self.page()
        self.assertIn("quillon COMMAND ...", page)
        self.assertIn("Compare the rows of two databases", page)

    def test_the_page_of_a_command_tells_what_its_own_commands_take(self):
        page = self.page("template")
        for text in ("quillon template new [OPTIONS] name [database1] [database2]",
                     "--via TEXT Third database (default: the first)",
                     "database2 Second database", "--templates FILE Template file"):
            self.assertIn(text, page)
        self.assertEqual(page.count("--templates"), 1)

    def test_a_backslash_is_one(self):
        self.assertIn("host\\instance", self.page("databases"))


if __name__ == "__main__":
    PROGRAM = sys.argv.pop(1)
    unittest.main()
