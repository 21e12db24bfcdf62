#!/usr/bin/env python3
"""Random comparisons, scripts and faults on both roads for as long as one says (default: 30 minutes),
by the test programs of a build (default: build/release): soak.py [MINUTES [BUILD]].

One process does the same direct tests again and again, and its memory must stay flat; others try
databases of ever new seeds on the road by a server. The end is a line for each, and a failure where
a test failed or memory grew."""
import os
import pathlib
import random
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
# What compares, scripts, applies, cancels and loses connections; no test of speed or of the program.
DIRECT = "Seeds/RandomDirect*:Seeds/SecondOpinion*:FaultsTest.*-FaultsTest.*Disk*:FaultsTest.*Full*"
KIB = 1024


def memory(process):
    for line in pathlib.Path(f"/proc/{process.pid}/status").read_text().splitlines():
        if line.startswith("VmRSS"):
            return int(line.split()[1]) * KIB
    return 0


def repeated(build, log, environment):
    program = build / "tests/direct/quillon_direct_tests"
    return subprocess.Popen(
        [program, f"--gtest_filter={DIRECT}", "--gtest_repeat=-1", "--gtest_brief=1"],
        env=environment | {"QUILLON_TEST_SEEDS": "2"}, stdout=log, stderr=subprocess.STDOUT)


def convergence(build, log, environment, seed):
    program = build / "tests/convergence/quillon_convergence_tests"
    return subprocess.Popen(
        [program, "--gtest_brief=1"], stdout=log, stderr=subprocess.STDOUT,
        env=environment | {"QUILLON_SEED": str(seed), "QUILLON_DATABASES": "10"})


def failed(log):
    log.flush()
    text = pathlib.Path(log.name).read_text(errors="replace")
    return [line for line in text.splitlines() if "[  FAILED  ]" in line or "ERROR:" in line]


def main(minutes="30", build="build/release"):
    build = (ROOT / build).resolve()
    environment = dict(os.environ) | {"ODBCSYSINI": str(build / "odbc")}
    end = time.monotonic() + float(minutes) * 60
    used, pairs, problems = [], 0, []
    with tempfile.NamedTemporaryFile("w", suffix=".log") as direct_log, \
            tempfile.NamedTemporaryFile("w", suffix=".log") as pair_log:
        direct = repeated(build, direct_log, environment)
        seed = random.randrange(1, 2**31)
        other = convergence(build, pair_log, environment, seed)
        while time.monotonic() < end and direct.poll() is None:
            time.sleep(5)
            used.append(memory(direct))
            if other.poll() is None:
                continue
            pairs += 10
            if other.returncode != 0:
                problems.append(f"QUILLON_SEED={seed}: status {other.returncode}")
            seed = random.randrange(1, 2**31)
            other = convergence(build, pair_log, environment, seed)
        if direct.poll() is not None:
            problems.append(f"the direct tests ended with status {direct.returncode}")
        for process in (direct, other):
            process.terminate()
            process.wait()
        rounds = pathlib.Path(direct_log.name).read_text(errors="replace").count(" ran. (")
        problems += failed(direct_log) + failed(pair_log)
    if rounds == 0:
        problems.append("the direct tests did not come to the end of a round")
    if len(used) < 8:
        sys.exit("too short to say anything of memory")
    quarter = len(used) // 4
    early = statistics.median(used[quarter:2 * quarter]) / KIB**2
    late = statistics.median(used[-quarter:]) / KIB**2
    print(f"direct: {rounds} rounds of the tests in one process; resident memory {early:.0f} MiB in"
          f" the second quarter of the time, {late:.0f} MiB in the last")
    print(f"by a server: {pairs} pairs of random databases")
    if late > early * 1.1 + 8:
        problems.append("memory grew")
    for problem in problems:
        print(problem, file=sys.stderr)
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main(*sys.argv[1:])
