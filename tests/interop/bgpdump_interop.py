#!/usr/bin/python3
"""Checks `bgpcomm mrt --bgpdump` against Debian's `bgpdump -m -l`, line for
line, on every real dump in ../shared/mrt/, on the hand-written RFC records
in tests/data/mrt/ and on a generated dump; and checks that the community
lists bgpcomm interns for each route (`bgpcomm mrt --json`) hold the values
bgpdump prints for it (standard and large communities). bgpcomm must read
every file without reporting a problem.

Exit status: 0 all equal, 1 a difference, 77 bgpdump is missing and cannot
be installed (not root).

    /usr/bin/python3 tests/interop/bgpdump_interop.py --bgpcomm build/tools/bgpcomm/bgpcomm
"""

import argparse
import glob
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
WELL_KNOWN = {"no-export": 0xFFFFFF01, "no-advertise": 0xFFFFFF02, "local-AS": 0xFFFFFF03}


def ensure_bgpdump():
    if shutil.which("bgpdump"):
        return True
    if os.geteuid() != 0:
        return False
    env = dict(os.environ, DEBIAN_FRONTEND="noninteractive")
    install = ["apt-get", "install", "-y", "--no-install-recommends", "bgpdump"]
    if subprocess.run(install, env=env, capture_output=True).returncode != 0:
        subprocess.run(["apt-get", "update"], env=env, capture_output=True)
        subprocess.run(install, env=env, capture_output=True)
    return shutil.which("bgpdump") is not None


def hex_fixture(path, out_dir):
    """The octets of an annotated hex file ('#' comments) as a binary file."""
    text = "".join(re.sub(r"#.*", "", line) for line in open(path))
    out = os.path.join(out_dir, os.path.basename(path)[:-4] + ".mrt")
    with open(out, "wb") as f:
        f.write(bytes.fromhex("".join(text.split())))
    return out


def run(argv):
    r = subprocess.run(argv, capture_output=True, text=True)
    return r.returncode, r.stdout, r.stderr


def community_value(text):
    if text in WELL_KNOWN:
        return WELL_KNOWN[text]
    high, low = text.split(":")
    return int(high) << 16 | int(low)


def check_file(bgpcomm, path):
    """Returns a list of problems (empty when bgpcomm agrees with bgpdump)."""
    name = os.path.basename(path)
    problems = []
    status, ours, err = run([bgpcomm, "mrt", "--bgpdump", "--no-progress", path])
    if status != 0 or err:
        problems.append("%s: bgpcomm exited %d: %s" % (name, status, err.strip()))
    _, theirs, _ = run(["bgpdump", "-m", "-l", path])
    ours_lines, their_lines = ours.splitlines(), theirs.splitlines()
    if not their_lines:
        problems.append("%s: bgpdump printed nothing" % name)
    for i, (a, b) in enumerate(zip(ours_lines, their_lines)):
        if a != b:
            problems.append("%s line %d:\n  bgpcomm: %s\n  bgpdump: %s" % (name, i + 1, a, b))
            if len(problems) > 5:
                break
    if len(ours_lines) != len(their_lines):
        problems.append("%s: bgpcomm printed %d lines, bgpdump %d"
                        % (name, len(ours_lines), len(their_lines)))

    # The interned lists, route by route, against bgpdump's community fields.
    # An interned list holds each value once, in order of value.
    _, js, _ = run([bgpcomm, "mrt", "--json", "--no-progress", path])
    routes = [json.loads(line) for line in js.splitlines()]
    announced = [line.split("|") for line in their_lines if line.split("|")[2] in ("A", "B")]
    if len(routes) != len(announced):
        problems.append("%s: %d routes in JSON, %d announced lines from bgpdump"
                        % (name, len(routes), len(announced)))
    for route, fields in zip(routes, announced):
        at = 7 if fields[0].endswith("_AP") else 6  # the path id comes after the prefix
        standard = sorted({community_value(c) for c in fields[at + 5].split()})
        large = sorted({tuple(int(x) for x in c.split(":")) for c in fields[at + 6].split()})
        large = [list(c) for c in large]
        got_standard = route.get("communities", {}).get("values", [])
        got_large = route.get("largeCommunities", {}).get("values", [])
        if (route["prefix"], route["peer"]) != (fields[5], fields[3]) or \
                got_standard != standard or got_large != large:
            problems.append("%s: route %s from %s: interned %s %s, bgpdump %s %s"
                            % (name, fields[5], fields[3], got_standard, got_large,
                               standard, large))
            break
    return problems


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--bgpcomm", required=True)
    args = parser.parse_args()
    if not ensure_bgpdump():
        print("bgpdump is not installed and we are not root: skipped")
        return 77
    work = tempfile.mkdtemp(prefix="bgpdump-interop-")
    try:
        files = sorted(glob.glob(os.path.join(ROOT, "..", "shared", "mrt", "*.gz")))
        if not files:
            print("note: ../shared/mrt/ is absent; its real dumps are not checked")
        files += [hex_fixture(p, work)
                  for p in sorted(glob.glob(os.path.join(ROOT, "tests", "data", "mrt", "*.hex")))]
        generated = os.path.join(work, "generated.mrt")
        status, _, err = run([args.bgpcomm, "gen", "--routes", "20000", "--seed", "5",
                              "-o", generated])
        if status != 0:
            print("bgpcomm gen failed: " + err)
            return 1
        files.append(generated)
        failed = False
        for path in files:
            problems = check_file(args.bgpcomm, path)
            print("%s: %s" % (os.path.basename(path), "same" if not problems else "DIFFERENT"))
            for p in problems:
                print("  " + p)
            failed = failed or bool(problems)
        return 1 if failed else 0
    finally:
        shutil.rmtree(work, ignore_errors=True)


if __name__ == "__main__":
    sys.exit(main())
