#!/usr/bin/env python3
"""Plants one generic fault at a time in the production C++ of morlin and runs
the test suite against it, to find faults that no test catches.

Each candidate site is one textual change on one line of convert/*.cpp,
natives/*.cpp, utility/*.cpp or include/morlin/*.h (comments, string and
character literals, preprocessor and static_assert lines are never touched).
Operators:
  check     an exception check that sees nothing: `env->ExceptionCheck()` in a
            condition becomes `false`, `!env->ExceptionCheck()` becomes `true`,
            a bare `env->ExceptionCheck();` statement becomes `(void)0;`
  release   a release that never happens: `free(p);`, `FreeX(...);`,
            `env->Release...(...);`, `env->Delete{Global,Local}Ref(...);`
            become `(void)0;`
  compare   a spaced comparison flipped: == and != swap, < <= > >= move by one
  logic     a spaced && and || swap, or a unary ! dropped
  constant  an integer literal one higher (hex keeps its width and case)
  swap      two adjacent, different, simple arguments of a one-line call swapped
  rv        a result code or boolean swapped (CKR_OK <-> CKR_ARGUMENTS_BAD,
            CKR_MUTEX_BAD -> CKR_OK, CKR_DATA_LEN_RANGE -> CKR_BUFFER_TOO_SMALL,
            CK_TRUE <-> CK_FALSE, JNI_TRUE <-> JNI_FALSE)

The mutants are built and tested in a copy of the repository (default
/tmp/plant-faults/tree), brought up to date with the source at every start:
only files whose content changed are rewritten, so the copy's build stays
incremental. The source is only read. A run first builds and tests the copy
unchanged (a failing baseline would make every mutant look killed), then for
each picked site: change the line, build, run ctest, put the line back.

  killed     it builds and at least one test fails (or the mutant times out)
  survived   it builds and every test passes: a fault no test catches
  stillborn  it does not compile; left out of the kill rate

Sampling with --count N: by default the N sites are shared out evenly over the
operators (round robin in an order drawn from the seed, a random site of each
operator in turn), since constants alone, mostly rows of the name tables,
outnumber all other sites together. --uniform draws N sites uniformly instead.
The picked sites are then run in file order, so that one recompile both puts
back the previous mutant and plants the next.

Examples:
  tools/plant-faults.py --list --ops check,release
  tools/plant-faults.py --count 20 --seed 1 --json /tmp/pf.json
  tools/plant-faults.py --site 17 --ctest-args '-R native'
  tools/plant-faults.py --count 10 --preset asan --rev HEAD
"""
import argparse
import fcntl
import io
import json
import os
import random
import re
import shlex
import signal
import subprocess
import sys
import tarfile
import time
from pathlib import Path

OPS = ["check", "release", "compare", "logic", "constant", "swap", "rv"]
SOURCE_GLOBS = ["convert/*.cpp", "natives/*.cpp", "utility/*.cpp", "include/morlin/*.h"]
# Not calls, or (offsetof: a type and a member) never valid with arguments swapped.
KEYWORDS = {"if", "for", "while", "switch", "return", "sizeof", "alignof", "decltype", "catch", "noexcept",
            "static_assert", "defined", "alignas", "typeid", "offsetof"}
RV_SWAPS = {"CKR_OK": "CKR_ARGUMENTS_BAD", "CKR_ARGUMENTS_BAD": "CKR_OK", "CKR_MUTEX_BAD": "CKR_OK",
            "CKR_DATA_LEN_RANGE": "CKR_BUFFER_TOO_SMALL", "CK_TRUE": "CK_FALSE", "CK_FALSE": "CK_TRUE",
            "JNI_TRUE": "JNI_FALSE", "JNI_FALSE": "JNI_TRUE"}

# ---- discovery ------------------------------------------------------------------


def mask(lines):
    """The lines with comments, literals and preprocessor/static_assert lines
    blanked to spaces, column for column, so that matches on the mask map
    straight onto the real text."""
    out, in_block, in_pp = [], False, False
    for line in lines:
        m, i, n = [], 0, len(line)
        if in_pp or line.lstrip().startswith("#") or line.lstrip().startswith("static_assert"):
            in_pp = line.rstrip().endswith("\\") and not line.lstrip().startswith("static_assert")
            out.append(" " * n)
            continue
        while i < n:
            if in_block:
                end = line.find("*/", i)
                stop = n if end < 0 else end + 2
                m.append(" " * (stop - i))
                in_block, i = end < 0, stop
            elif line.startswith("//", i):
                m.append(" " * (n - i))
                i = n
            elif line.startswith("/*", i):
                in_block = True
            elif line[i] in "\"'":
                j = i + 1
                while j < n and line[j] != line[i]:
                    j += 2 if line[j] == "\\" else 1
                m.append(line[i] + " " * (min(j, n) - i - 1) + (line[i] if j < n else ""))
                i = j + 1
            else:
                m.append(line[i])
                i += 1
        out.append("".join(m)[:n])
    return out


def close_paren(text, open_at):
    """Index of the parenthesis that closes the one at open_at, or -1."""
    depth = 0
    for i in range(open_at, len(text)):
        depth += {"(": 1, ")": -1}.get(text[i], 0)
        if depth == 0:
            return i
    return -1


def trim(text, a, b):
    """The span a..b of text without its surrounding blanks."""
    part = text[a:b]
    return a + len(part) - len(part.lstrip()), a + len(part.rstrip())


def starts_statement(before):
    """Whether code ending in `before` lets a call start a statement (rather
    than, say, a type making it a declaration)."""
    before = before.rstrip()
    return before == "" or before[-1] in "{};)" or re.search(r"\b(else|do)$", before) is not None


def is_declaration(before):
    """A call preceded by a type name is a declaration or definition."""
    word = re.search(r"(\w+)\s*[*&]*\s*$", before)
    return word is not None and word.group(1) not in {"return", "else", "case", "do"}


CHECK_RE = re.compile(r"(!\s*)?\b(?:\w+(?:\.|->))*\w+->ExceptionCheck\(\)")
RELEASE_RE = re.compile(r"\b(?:\w+(?:\.|->))*(?:free|Free\w*|Release\w*|DeleteGlobalRef|DeleteLocalRef)\s*\("
                        r"|\(\w+->\*release\)\s*\(")
COMPARE_RE = re.compile(r"(?<=\s)(==|!=|<=|>=|<|>)(?=\s)")
COMPARE_TO = {"==": "!=", "!=": "==", "<": "<=", "<=": "<", ">": ">=", ">=": ">"}
LOGIC_RE = re.compile(r"(?<=\s)(&&|\|\|)(?=\s)|!(?!=)")
CONSTANT_RE = re.compile(r"(?<![\w.'])(0[xX][0-9a-fA-F]+|[0-9]+)(?=[uUlL]*(?![\w.']))")
CALL_RE = re.compile(r"\b([A-Za-z_]\w*)\s*\(")
SIMPLE_ARG_RE = re.compile(r'^[&*]?(?:\w+::)*\w+(?:(?:\.|->)\w+)*$|^"[^"]*"$|^\'[^\']*\'$')
RV_RE = re.compile(r"\b(" + "|".join(RV_SWAPS) + r")\b")


def edits(code, text):
    """Yields (op, start, end, replacement) for one line: `code` is the mask,
    `text` the real line."""
    for m in CHECK_RE.finditer(code):
        if m.group(1):
            yield "check", m.start(), m.end(), "true"
        elif starts_statement(code[:m.start()]) and code[m.end():].lstrip().startswith(";"):
            yield "check", m.start(), m.end(), "(void)0"
        else:
            yield "check", m.start(), m.end(), "false"
    for m in RELEASE_RE.finditer(code):
        end = close_paren(code, m.end() - 1)
        if end > 0 and code[end + 1:].lstrip().startswith(";") and starts_statement(code[:m.start()]):
            yield "release", m.start(), end + 1, "(void)0"
    if not code.lstrip().startswith("template"):
        for m in COMPARE_RE.finditer(code):
            yield "compare", m.start(), m.end(), COMPARE_TO[m.group(1)]
    for m in LOGIC_RE.finditer(code):
        yield "logic", m.start(), m.end(), {"&&": "||", "||": "&&"}.get(m.group(1), "")
    for m in CONSTANT_RE.finditer(code):
        lit = m.group(1)
        if lit[:2] in ("0x", "0X"):
            new = format(int(lit, 16) + 1, "x")
            new = lit[:2] + (new.upper() if re.search("[A-F]", lit) else new).zfill(len(lit) - 2)
        else:
            new = str(int(lit) + 1)
        yield "constant", m.start(), m.end(), new
    for m in CALL_RE.finditer(code):
        if m.group(1) in KEYWORDS or is_declaration(code[:m.start()]):
            continue
        end = close_paren(code, m.end() - 1)
        if end < 0:
            continue
        spans, depth, start = [], 0, m.end()
        for i in range(m.end(), end + 1):
            c = code[i]
            depth += 1 if c in "([{" else -1 if c in ")]}" else 0
            if (c == "," and depth == 0) or i == end:
                spans.append((start, i))
                start = i + 1
        args = [text[a:b].strip() for a, b in spans]
        if len(args) < 2 or not all(SIMPLE_ARG_RE.match(a) for a in args):
            continue
        for k in range(len(args) - 1):
            if args[k] != args[k + 1]:
                (a0, a1), (b0, b1) = trim(text, *spans[k]), trim(text, *spans[k + 1])
                yield "swap", a0, b1, text[b0:b1] + text[a1:b0] + text[a0:a1]
    for m in RV_RE.finditer(code):
        yield "rv", m.start(), m.end(), RV_SWAPS[m.group(1)]


def discover(tree):
    sites, seen = [], set()
    for pattern in SOURCE_GLOBS:
        for path in sorted(tree.glob(pattern)):
            rel = str(path.relative_to(tree))
            lines = path.read_bytes().decode().split("\n")
            for no, (code, text) in enumerate(zip(mask(lines), lines), 1):
                for op, a, b, new in sorted(edits(code, text), key=lambda e: (e[1], OPS.index(e[0]))):
                    after = text[:a] + new + text[b:]
                    if after != text and (rel, no, after) not in seen:
                        seen.add((rel, no, after))
                        sites.append({"id": len(sites) + 1, "op": op, "file": rel, "line": no,
                                      "before": text, "after": after})
    return sites


def pick(sites, count, seed, uniform):
    rng = random.Random(seed)
    if uniform:
        chosen = rng.sample(sites, min(count, len(sites)))
    else:
        pools = {op: [s for s in sites if s["op"] == op] for op in OPS}
        order = [op for op in OPS if pools[op]]
        rng.shuffle(order)
        for op in order:
            rng.shuffle(pools[op])
        chosen = []
        while len(chosen) < count and any(pools[op] for op in order):
            for op in order:
                if pools[op] and len(chosen) < count:
                    chosen.append(pools[op].pop())
    return sorted(chosen, key=lambda s: (s["file"], s["line"], s["id"]))


# ---- the working copy --------------------------------------------------------------


def source_files(src, rev):
    """(path, bytes, mode) of every file of the work tree as it is (tracked,
    or new and not ignored), or of a commit when rev is given."""
    if rev is None:
        cmd = ["git", "-C", src, "ls-files", "-z", "--cached", "--others", "--exclude-standard"]
        names = subprocess.run(cmd, check=True, capture_output=True).stdout
        for name in filter(None, names.decode().split("\0")):
            path = Path(src, name)
            if path.is_file():
                yield name, path.read_bytes(), path.stat().st_mode & 0o777
    else:
        archive = subprocess.run(["git", "-C", src, "archive", rev], check=True, capture_output=True).stdout
        with tarfile.open(fileobj=io.BytesIO(archive)) as tar:
            for member in tar:
                if member.isfile():
                    yield member.name, tar.extractfile(member).read(), member.mode & 0o777


def sync(src, rev, tree):
    """Brings the copy up to date, rewriting only files whose content differs:
    a fresh write gives a fresh mtime, so make rebuilds exactly those (and
    undoes any mutant an earlier run could not put back)."""
    manifest = tree / ".plant-faults-files"
    old = set(manifest.read_text().split("\n")) - {""} if manifest.exists() else set()
    new, changed = set(), 0
    for name, data, mode in source_files(src, rev):
        new.add(name)
        path = tree / name
        if not path.is_file() or path.read_bytes() != data:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(data)
            changed += 1
        os.chmod(path, mode)
    for name in old - new:
        (tree / name).unlink(missing_ok=True)
    manifest.write_text("\n".join(sorted(new)))
    return changed


# ---- building and testing ------------------------------------------------------------


def run(cmd, cwd, deadline):
    """(rc, output, timed_out). The command gets a session of its own so that
    on a timeout or an interrupt its whole process group can be ended."""
    proc = subprocess.Popen(cmd, cwd=cwd, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            errors="replace", start_new_session=True)
    try:
        out, _ = proc.communicate(timeout=max(1, deadline - time.monotonic()))
        return proc.returncode, out, False
    except subprocess.TimeoutExpired:
        stop(proc)
        return proc.returncode, proc.communicate()[0], True
    except BaseException:
        stop(proc)
        raise


def stop(proc):
    """Ends the command's process group: SIGTERM first, so that make deletes
    the half-written target it was making, then SIGKILL for what lingers."""
    for sig, grace in ((signal.SIGTERM, 10), (signal.SIGKILL, None)):
        try:
            os.killpg(proc.pid, sig)
        except ProcessLookupError:
            break
        try:
            proc.wait(grace)
        except subprocess.TimeoutExpired:
            pass


def build_and_test(args, tree, timeout):
    """{'status', 'failed', 'timeout', 'log', 'seconds'} for the tree as it is."""
    start = time.monotonic()
    deadline = start + timeout
    rc, out, late = run(["cmake", "--build", "--preset", args.preset, "-j", str(args.jobs)], tree, deadline)
    result = {"failed": [], "timeout": late, "log": ""}
    if late:
        result["status"] = "killed"
    elif rc != 0:
        errors = [line for line in out.splitlines() if re.search(r"\berror\b", line)] or out.splitlines()[-10:]
        result.update(status="stillborn", log="\n".join(line[:200] for line in errors[:5]))
    else:
        test_cmd = ["ctest", "--preset", args.preset, "-j", str(args.jobs), "--timeout", str(args.test_timeout)]
        rc, out, late = run(test_cmd + shlex.split(args.ctest_args), tree, deadline)
        failed = re.findall(r"^\s*\d+ - (\S+) \((.*)\)\s*$", out.split("The following tests FAILED:")[-1], re.M)
        failed = [f"{name} ({why})" for name, why in failed] if "tests FAILED" in out else []
        if rc != 0 and not failed and not late:
            failed = [f"ctest exit {rc}"]
            result["log"] = "\n".join(out.splitlines()[-10:])
        result.update(status="killed" if failed or late else "survived", failed=failed, timeout=late)
    result["seconds"] = round(time.monotonic() - start, 1)
    return result


def plant(tree, site):
    """Writes the mutant; returns the file's original bytes, which the caller
    writes back whatever happens."""
    path = tree / site["file"]
    original = path.read_bytes()
    lines = original.decode().split("\n")
    if lines[site["line"] - 1] != site["before"]:
        raise RuntimeError(f"{site['file']}:{site['line']} changed since discovery")
    lines[site["line"] - 1] = site["after"]
    path.write_bytes("\n".join(lines).encode())
    return original


# ---- report ---------------------------------------------------------------------------------


def summarize(results):
    table = {op: {"killed": 0, "survived": 0, "stillborn": 0, "timeout": 0} for op in OPS}
    for r in results:
        table[r["op"]][r["status"]] += 1
        table[r["op"]]["timeout"] += r["timeout"]
    killed = sum(t["killed"] for t in table.values())
    compiled = killed + sum(t["survived"] for t in table.values())
    return {"per_op": {op: t for op, t in table.items() if sum(t.values())}, "killed": killed, "compiled": compiled,
            "kill_rate": round(killed / compiled, 4) if compiled else None}


def report(results, summary):
    print(f"\n{'operator':10} {'killed':>7} {'survived':>9} {'stillborn':>10}   (killed by timeout)")
    for op, t in summary["per_op"].items():
        print(f"{op:10} {t['killed']:7} {t['survived']:9} {t['stillborn']:10}   ({t['timeout']})")
    rate = f"{100 * summary['kill_rate']:.1f}%" if summary["compiled"] else "n/a"
    print(f"kill rate: {summary['killed']}/{summary['compiled']} compiled mutants = {rate}")
    survivors = [r for r in results if r["status"] == "survived"]
    if survivors:
        print("\nsurvivors (faults that no test catches):")
    for r in survivors:
        print(f"  #{r['id']} {r['op']} {r['file']}:{r['line']}\n    - {r['before'].strip()}\n    + {r['after'].strip()}")


def describe(site):
    return f"#{site['id']} {site['op']} {site['file']}:{site['line']}"


def interrupt(signum, frame):
    raise KeyboardInterrupt  # so that a kill, too, puts the planted line back


def main():
    p = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    p.add_argument("--source", default=str(Path(__file__).resolve().parent.parent),
                   help="the repository to copy (default: the one holding this script)")
    p.add_argument("--rev", help="copy this commit (git archive) instead of the work tree")
    p.add_argument("--tree", default="/tmp/plant-faults/tree", help="the working copy (default %(default)s)")
    p.add_argument("--list", action="store_true", help="print the candidate sites and stop")
    p.add_argument("--ops", default=",".join(OPS), help="operators to use, comma separated (default: all)")
    p.add_argument("--count", type=int, help="how many sites to run")
    p.add_argument("--seed", type=int, default=0, help="seed of the sampling (default %(default)s)")
    p.add_argument("--uniform", action="store_true", help="sample sites uniformly, not evenly over operators")
    p.add_argument("--site", action="append", default=[],
                   help="run this site id, as --list numbers the same source (repeatable, or comma separated)")
    p.add_argument("--all", action="store_true", help="run every site (hours)")
    p.add_argument("--preset", default="default", choices=["default", "asan"])
    p.add_argument("--jobs", type=int, default=2, help="parallel build and test jobs (default %(default)s)")
    p.add_argument("--timeout", type=int, default=900, help="seconds per mutant, build and tests (default %(default)s)")
    p.add_argument("--test-timeout", type=int, default=300, help="ctest --timeout (default %(default)s)")
    p.add_argument("--ctest-args", default="", help="more ctest arguments, e.g. '-R native'")
    p.add_argument("--skip-baseline", action="store_true", help="do not build and test the unchanged copy first")
    p.add_argument("--json", help="also write the results to this file")
    args = p.parse_args()
    ops = args.ops.split(",")
    if set(ops) - set(OPS):
        p.error(f"unknown operator(s) {sorted(set(ops) - set(OPS))}; known: {','.join(OPS)}")

    tree = Path(args.tree)
    tree.mkdir(parents=True, exist_ok=True)
    # A second run on the same copy would sync away the first one's mutant.
    lock = open(tree / ".plant-faults-lock", "w")
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        p.error(f"another run is using {tree}; give this one a --tree of its own")
    changed = sync(args.source, args.rev, tree)
    sites = [s for s in discover(tree) if s["op"] in ops]
    if args.list:
        for s in sites:
            print(f"{s['id']:5} {s['op']:8} {s['file']}:{s['line']}  {s['before'].strip()}  →  {s['after'].strip()}")
        counts = {op: sum(s["op"] == op for s in sites) for op in ops}
        print(f"{len(sites)} sites: " + ", ".join(f"{op} {n}" for op, n in counts.items()), file=sys.stderr)
        return 0

    if args.site:
        wanted = {int(i) for arg in args.site for i in arg.split(",")}
        chosen = [s for s in sites if s["id"] in wanted]
        if len(chosen) != len(wanted):
            p.error(f"no such site(s): {sorted(wanted - {s['id'] for s in chosen})} (see --list)")
    elif args.count or args.all:
        chosen = sites if args.all else pick(sites, args.count, args.seed, args.uniform)
    else:
        p.error("say which sites: --count N, --site ID or --all")

    signal.signal(signal.SIGTERM, interrupt)
    print(f"copy {tree}: {changed} file(s) refreshed from {args.source}" + (f" at {args.rev}" if args.rev else ""))
    doc = {"source": args.source, "rev": args.rev, "preset": args.preset, "seed": args.seed,
           "sampling": "uniform" if args.uniform else "even over operators", "ctest_args": args.ctest_args,
           "sites_total": len(sites), "results": []}
    if not (tree / "build" / args.preset / "CMakeCache.txt").exists():
        subprocess.run(["cmake", "--preset", args.preset], cwd=tree, check=True, stdout=subprocess.DEVNULL)
    results = doc["results"]
    try:
        if not args.skip_baseline:
            print("baseline: building and testing the unchanged copy ...", flush=True)
            base = build_and_test(args, tree, 4 * args.timeout)
            doc["baseline"] = base
            if base["status"] != "survived":
                print(f"baseline {base['status']}: {base['failed'] or base['log']}; fix it first", file=sys.stderr)
                return 2
            print(f"baseline: all tests pass ({base['seconds']} s)")
        for n, site in enumerate(chosen, 1):
            print(f"[{n}/{len(chosen)}] {describe(site)}: {site['after'].strip()}", flush=True)
            original = None
            try:
                original = plant(tree, site)
                result = build_and_test(args, tree, args.timeout)
            finally:
                if original is not None:
                    (tree / site["file"]).write_bytes(original)
            results.append({**site, **result})
            detail = "timeout" if result["timeout"] else ", ".join(result["failed"]) or result["log"].split("\n")[0]
            print(f"    {result['status']} in {result['seconds']} s" + (f": {detail}" if detail else ""), flush=True)
    except KeyboardInterrupt:
        print(f"\ninterrupted after {len(results)} mutant(s); the copy is restored", file=sys.stderr)
        doc["interrupted"] = True
    doc["summary"] = summarize(results)
    report(results, doc["summary"])
    if args.json:
        Path(args.json).write_text(json.dumps(doc, indent=2) + "\n")
    return 130 if doc.get("interrupted") else 0


if __name__ == "__main__":
    sys.exit(main())
