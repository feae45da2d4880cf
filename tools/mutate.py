#!/usr/bin/python3
"""Mutation sampler: how many small faults in the sources do the tests catch?

From a seed, samples mutants of the C/C++ sources under --paths of the
checkout --repo, applies each in place, rebuilds the test targets in the
build folder --build (configured once, reused), runs CTest, and restores the
file byte for byte. A mutant is killed when a test fails or times out,
survives when all pass, and is skipped when it does not compile; sampling
goes on until --count mutants have compiled. Every result is appended to a
JSON-lines log, so an interrupted run resumes where it stopped.

  nice -n 19 tools/mutate.py --repo . --build build-mutants --seed 20 --count 200
"""
import argparse
import collections
import json
import os
import random
import re
import shutil
import signal
import subprocess
import sys
import time
from pathlib import Path

SOURCE_SUFFIXES = {".c", ".cc", ".cpp", ".h", ".hpp"}
# Binary operators are written with a blank on each side in this code base,
# template brackets, shifts and arrows are not: the blanks pick comparisons.
SWAPS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==",
         "&&": "||", "||": "&&"}
OPERATOR = re.compile(r"(?<= )(?:<=|>=|==|!=|&&|\|\||<|>)(?= )")
INTEGER = re.compile(r"(?<![\w.'])(0[xX][0-9a-fA-F']+|\d[\d']*)([uUlLzZ]*)(?![\w.'])")
BOOLEAN_RETURN = re.compile(r"\breturn (true|false);")
# Whole-line statements that cannot be declarations: a call, an assignment,
# an increment, break or continue. Deleting one leaves an empty statement.
STATEMENT = re.compile(r"""(?x) ^[ \t]*(
    [\w*][\w.:>\[\]*()-]*[ ]*(?:[-+*/%&|^]|<<|>>)?=[ ][^;]*;      # assignment
  | [\w][\w.:>\[\]-]*\(.*\);                                      # call
  | (?:\+\+|--)[\w.>\[\]-]+; | [\w.>\[\]-]+(?:\+\+|--);           # step
  | break; | continue; )[ \t]*$""")
DEFAULTED = re.compile(r"= (default|delete|0);")
CONTINUES_STATEMENT = re.compile(r"[^;{}:)\s]\s*$")


def mask_code(text):
    """The text with comments, string and char literals and preprocessor
    lines blanked (newlines kept), so offsets stay those of the file."""
    out, i, n = list(text), 0, len(text)

    def blank(start, end):
        for k in range(start, end):
            if out[k] != "\n":
                out[k] = " "

    while i < n:
        c = text[i]
        if c == "#" and text[text.rfind("\n", 0, i) + 1:i].strip() == "":
            end = i
            while True:  # a directive runs on over escaped newlines
                end = text.find("\n", end)
                if end < 0 or text[end - 1] != "\\":
                    break
                end += 1
            end = n if end < 0 else end
        elif text.startswith("//", i):
            end = text.find("\n", i)
            end = n if end < 0 else end
        elif text.startswith("/*", i):
            end = text.find("*/", i + 2)
            end = n if end < 0 else end + 2
        elif c == 'R' and text.startswith('R"', i) and not re.match(r"\w", text[i - 1:i]):
            delimiter = text[i + 2:text.find("(", i)]
            end = text.find(")" + delimiter + '"', i) + len(delimiter) + 2
        elif c == '"' or (c == "'" and not _digit_separator(text, i)):
            end = i + 1
            while end < n and text[end] != c and text[end] != "\n":
                end += 2 if text[end] == "\\" else 1
            end += 1
        else:
            i += 1
            continue
        blank(i, end)
        i = end
    return "".join(out)


def _digit_separator(text, i):
    """A quote inside a number (1'000) rather than a char literal."""
    start = i
    while start > 0 and (text[start - 1].isalnum() or text[start - 1] in "_'"):
        start -= 1
    return start < i and text[start].isdigit()


def sites_in(path, relative):
    """Every mutation site of one file as (line, column, kind, old, new)."""
    text = path.read_text(encoding="utf-8", errors="surrogateescape")
    original = text.split("\n")
    previous = ""
    for number, line in enumerate(mask_code(text).split("\n"), 1):
        found = []  # (match, kind, replacement)
        for m in OPERATOR.finditer(line):
            found.append((m, "operator", SWAPS[m.group(0)]))
        if "static_assert" not in line and "virtual" not in line:
            for m in INTEGER.finditer(line):
                digits = m.group(1).replace("'", "")
                hexadecimal = digits[1:2] in ("x", "X")
                value = int(digits, 16 if hexadecimal else 10) + 1
                found.append((m, "integer", (hex(value) if hexadecimal else str(value)) + m.group(2)))
        for m in BOOLEAN_RETURN.finditer(line):
            found.append((m, "return", "return false;" if m.group(1) == "true" else "return true;"))
        statement = STATEMENT.match(line)
        if statement and not CONTINUES_STATEMENT.search(previous) and \
                line.count("(") == line.count(")") and not DEFAULTED.search(line):
            found.append((statement, "statement", ";"))
        for m, kind, new in found:
            start, end = m.span(m.lastindex if kind == "statement" else 0)
            yield {"file": relative, "line": number, "column": start + 1, "kind": kind,
                   "old": original[number - 1][start:end], "new": new}
        if line.strip():
            previous = line


def sample_sites(repo, paths, seed):
    """All sites under the folders, in an order fixed by the seed."""
    sites = []
    for folder in paths:
        for path in sorted((repo / folder).rglob("*")):
            if path.suffix in SOURCE_SUFFIXES and path.is_file():
                sites.extend(sites_in(path, path.relative_to(repo).as_posix()))
    random.Random(seed).shuffle(sites)
    return sites


def site_id(site):
    return f"{site['file']}:{site['line']}:{site['column']}:{site['kind']}"


class Mutant:
    """Applies one site to its file and puts the original bytes back, even
    when the run is interrupted."""

    def __init__(self, repo, site):
        self.path = repo / site["file"]
        self.site = site

    def __enter__(self):
        self.original = self.path.read_bytes()
        lines = self.original.decode("utf-8", "surrogateescape").split("\n")
        line, start = lines[self.site["line"] - 1], self.site["column"] - 1
        old = self.site["old"]
        if line[start:start + len(old)] != old:
            raise RuntimeError(f"{site_id(self.site)}: source changed since sampling")
        lines[self.site["line"] - 1] = line[:start] + self.site["new"] + line[start + len(old):]
        self.path.write_bytes("\n".join(lines).encode("utf-8", "surrogateescape"))
        return self

    def __exit__(self, *_):
        self.path.write_bytes(self.original)


# Absolute source paths: with Ninja and a ccache base folder, __FILE__ would
# be relative to the build root, and tests that open their own source run
# from their own folder.
ENVIRONMENT = {key: value for key, value in os.environ.items() if key != "CCACHE_BASEDIR"}


def run(command, cwd, timeout=None):
    """Runs a command in a process group of its own, so that a timeout or
    an interruption also ends the tests it started. Returns the completed
    process (returncode None after a timeout) and the seconds it took."""
    started = time.monotonic()
    process = subprocess.Popen(command, cwd=cwd, env=ENVIRONMENT, stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT, text=True, errors="replace",
                               start_new_session=True)
    try:
        output, _ = process.communicate(timeout=timeout)
    except subprocess.TimeoutExpired:
        output, process.returncode = "", None
    finally:
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGKILL)
            process.wait()
    return subprocess.CompletedProcess(command, process.returncode, output), \
        time.monotonic() - started


class Suite:
    """The CTest entries of the build folder, the targets they need, and
    what each test runs: its executable and any built file whose path its
    command or executable names (the plug-in, the command). After a mutant's
    build only the tests with a changed input run, quick ones first, so most
    mutants die before the slow ones start."""

    QUICK_SECONDS = 5

    def __init__(self, args):
        self.args = args
        self.build = args.build

    def configure(self):
        if not (self.build / "CMakeCache.txt").exists():
            # ccache turns the rebuild of each restored file into a cache hit.
            launcher = [f"-DCMAKE_{language}_COMPILER_LAUNCHER=ccache" for language in ("C", "CXX")
                        if shutil.which("ccache")]
            subprocess.run(["cmake", "-G", "Ninja", "-S", str(self.args.repo), "-B", str(self.build),
                            "-DCMAKE_BUILD_TYPE=RelWithDebInfo",
                            "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O1 -DNDEBUG",
                            "-DCMAKE_C_FLAGS_RELWITHDEBINFO=-O1 -DNDEBUG",
                            "-DWZSS_BUILD_BENCHMARKS=OFF", "-DWZSS_BUILD_PYTHON=ON"] + launcher,
                           check=True,
                           stdout=subprocess.DEVNULL, env=ENVIRONMENT)
        subprocess.run(["ninja", "-C", str(self.build), "all"], check=True, env=ENVIRONMENT)
        listing, _ = run(["ctest", "--show-only=json-v1", "-E", self.args.exclude], self.build)
        tests = json.loads(listing.stdout)["tests"]
        required = {t["name"]: {Path(f) for f in properties(t).get("REQUIRED_FILES", [])
                                if self.build in Path(f).parents} for t in tests}
        self.artifacts = [p for folder in ("bin", "lib") for p in (self.build / folder).glob("*")
                          if p.is_file()] + sorted(set().union(*required.values()))
        # Every built program a test runs, also one it hands to an
        # interpreter (node judge.js BINARY), and every built file it
        # declares it needs (the staged Python package), so that none runs
        # stale.
        built = {str(p) for p in self.artifacts}
        self.targets = sorted({os.path.relpath(word, self.build) for t in tests
                               for word in t["command"] if word in built}
                              | {os.path.relpath(f, self.build) for files in required.values()
                                 for f in files}
                              | set(self.args.also_build))
        self.inputs = {t["name"]: self.inputs_of(t["command"], required[t["name"]])
                       for t in tests}

    def inputs_of(self, command, required):
        """The built files a test runs or declares it needs; None when it
        runs something outside the build folder (a compiler, a script) and
        declares nothing, which then always runs."""
        program = Path(command[0])
        if self.build not in program.parents:
            return required or None
        text = " ".join(command).encode() + program.read_bytes()
        return {program} | required | {p for p in self.artifacts if str(p).encode() in text}

    def build_targets(self):
        """Whether the tree compiled, the built files that changed, and the
        seconds it took."""
        before = {p: p.stat().st_mtime_ns for p in self.artifacts if p.exists()}
        result, seconds = run(["ninja", "-C", str(self.build)] + self.targets, self.build)
        changed = {p for p in self.artifacts if p.exists() and p.stat().st_mtime_ns != before.get(p)}
        return result.returncode == 0, changed, seconds

    def ctest(self, names, timeout):
        command = ["ctest", "-j2", "--stop-on-failure", "--timeout", str(timeout),
                   "-E", self.args.exclude]
        # Tests with a TIMEOUT property of their own ignore --timeout: the
        # whole stage is bounded as well.
        result, _ = run(command + ["-R", f"^({'|'.join(map(re.escape, names))})$"], self.build,
                        timeout=2 * timeout)
        failed = re.findall(r"^\s*\d+ - (\S+) \((?!Not Run)", result.stdout, re.M)
        if result.returncode is None:
            failed = ["(stage timed out)"]
        return result.returncode == 0, failed, result.stdout

    def clean_run(self):
        """Runs the tests on the unmutated tree (all must pass) and splits
        them into stages with a timeout each, well above their slowest."""
        result, _ = run(["ctest", "-j2", "-E", self.args.exclude], self.build)
        if result.returncode != 0:
            sys.exit(f"the unmutated tree fails tests; fix or --exclude them\n{result.stdout}")
        times = {name: float(seconds) for name, seconds in
                 re.findall(r"Test\s+#\d+: (\S+) \.+\s+Passed\s+([\d.]+) sec", result.stdout)}
        quick = [name for name, seconds in times.items() if seconds < self.QUICK_SECONDS]
        slow = [name for name in times if name not in quick]
        self.stages = [(names, max(20, round(5 * max(times[n] for n in names))))
                       for names in (quick, slow) if names]

    def run_tests(self, changed):
        """Whether every test that can see the change passed, the tests that
        failed, and the seconds it took."""
        started = time.monotonic()
        # Hosts find a shared library by paths made at run time (the command
        # loads the plug-in next to itself): a changed one runs every test.
        # A Python extension module is loaded only by the staged package,
        # which its tests declare.
        everything = any(p.suffix == ".so" and p.name.startswith("lib") for p in changed)
        for names, timeout in self.stages:
            names = [n for n in names
                     if everything or self.inputs.get(n) is None or self.inputs[n] & changed]
            passed, failed, _ = self.ctest(names, timeout) if names else (True, [], "")
            if not passed:
                return False, failed, time.monotonic() - started
        return True, [], time.monotonic() - started


def properties(test):
    """A CTest entry's properties as a dict."""
    return {p["name"]: p["value"] for p in test.get("properties", [])}


def load_log(path):
    if not path.exists():
        return {}
    with path.open() as log:
        return {record["id"]: record for record in map(json.loads, log) if "id" in record}


def summarize(results, args):
    compiled = [r for r in results if r["status"] != "does-not-compile"]
    killed = sum(r["status"] == "killed" for r in compiled)
    survivors = [r for r in compiled if r["status"] == "survived"]
    elapsed = sum(r["build_seconds"] + r["test_seconds"] + r.get("restore_seconds", 0)
                  for r in results)

    def by(key):
        return dict(sorted(collections.Counter(r[key] for r in survivors).items()))

    report = {"seed": args.seed, "paths": args.paths, "count": args.count,
              "compiled": len(compiled), "killed": killed, "survived": len(survivors),
              "does_not_compile": len(results) - len(compiled),
              "kill_rate": round(killed / len(compiled), 4) if compiled else None,
              "survivors_by_kind": by("kind"), "survivors_by_file": by("file"),
              "seconds_per_compiling_mutant": round(elapsed / len(compiled), 1) if compiled else None,
              "survivors": survivors}
    lines = [f"seed {args.seed}, paths {' '.join(args.paths)}: {len(compiled)} compiling mutants "
             f"of {args.count} asked, {report['does_not_compile']} did not compile",
             f"killed {killed}, survived {len(survivors)}, kill rate "
             f"{100 * killed / max(len(compiled), 1):.1f}%",
             f"survivors by kind {report['survivors_by_kind']}",
             f"survivors by file {report['survivors_by_file']}"]
    lines += [f"  survived {r['file']}:{r['line']}:{r['column']} {r['kind']}: "
              f"{r['old']!r} -> {r['new']!r}" for r in survivors]
    return report, "\n".join(lines)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--repo", type=Path, default=Path("."), help="checkout to mutate")
    parser.add_argument("--build", type=Path, default=Path("build-mutants"),
                        help="build folder, configured on first use and reused")
    parser.add_argument("--paths", nargs="+", default=["src"], help="folders to mutate")
    parser.add_argument("--seed", type=int, default=20)
    parser.add_argument("--count", type=int, default=200, help="compiling mutants wanted")
    parser.add_argument("--exclude", default="browser", help="CTest entries not to run (regex)")
    parser.add_argument("--also-build", nargs="*", default=["wzss", "wzss_cli"],
                        help="targets the tests use without naming them (plug-in, command)")
    parser.add_argument("--log", type=Path, help="JSON-lines results (default BUILD/mutants.jsonl)")
    parser.add_argument("--json", type=Path, help="summary file (default BUILD/mutants.json)")
    parser.add_argument("--list", action="store_true", help="print the sampled sites and stop")
    parser.add_argument("--shard", default="0/1", metavar="K/N",
                        help="test only every N-th site of the sample, from the K-th (from 0), in a "
                             "checkout and build folder of its own, so N machines' cores share a "
                             "sample; concatenate the logs and --report them together")
    parser.add_argument("--report", action="store_true",
                        help="summarize the log as it stands, without building anything")
    args = parser.parse_args()
    args.repo, args.build = args.repo.resolve(), args.build.resolve()
    log_path = args.log or args.build / "mutants.jsonl"
    sites = sample_sites(args.repo, args.paths, args.seed)
    if args.list:
        for site in sites[:args.count]:
            print(f"{site_id(site)} {site['old']!r} -> {site['new']!r}")
        return 0
    if not args.report:
        test_sample(args, sites, log_path)
    results, done = [], load_log(log_path)
    for site in sites:  # the logged mutants in sample order, up to the count
        if site_id(site) not in done or sum(r["status"] != "does-not-compile"
                                            for r in results) >= args.count:
            break
        results.append(done[site_id(site)])
    report, text = summarize(results, args)
    (args.json or args.build / "mutants.json").write_text(json.dumps(report, indent=1) + "\n")
    print(text)
    return 0


def test_sample(args, sites, log_path):
    """Tests the sampled mutants not in the log yet, appending each result."""
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))  # restore files on kill too
    suite = Suite(args)
    suite.configure()
    suite.clean_run()
    done, compiled_count = load_log(log_path), 0
    shard, shards = (int(n) for n in args.shard.split("/"))
    # A shard goes a little past its share, so that the merged logs cover
    # the sample's first --count compiling mutants without a gap.
    wanted = args.count if shards == 1 else -(-args.count // shards) + 3
    with log_path.open("a") as log:
        for number, site in enumerate(sites, 1):
            if compiled_count >= wanted:
                break
            if (number - 1) % shards != shard:
                continue
            record = done.get(site_id(site))
            if record is None:
                with Mutant(args.repo, site):
                    compiled, changed, build_seconds = suite.build_targets()
                    passed, failed, test_seconds = \
                        suite.run_tests(changed) if compiled else (None, [], 0)
                # The restored tree, so the next mutant's build shows only its own changes.
                restore_seconds = suite.build_targets()[2]
                status = "does-not-compile" if not compiled else "survived" if passed else "killed"
                record = dict(site, id=site_id(site), status=status, failed=failed[:5],
                              build_seconds=round(build_seconds, 1),
                              test_seconds=round(test_seconds, 1),
                              restore_seconds=round(restore_seconds, 1))
                log.write(json.dumps(record) + "\n")
                log.flush()
                print(f"[{number}] {status:16} {site_id(site)} {site['old']!r} -> {site['new']!r} "
                      f"({build_seconds:.0f}+{test_seconds:.0f}+{restore_seconds:.0f} s)", flush=True)
            compiled_count += record["status"] != "does-not-compile"


if __name__ == "__main__":
    sys.exit(main())
