#!/usr/bin/env python3
"""Checks round trips the way a player sees them.

For each SWF file: `flio roundtrip` writes it again (faithful mode unless options
say otherwise), the independent player renders the original and the copy at frame
1 and at a later frame, and the two renders of each frame are compared. A file
passes when at most 1 % of the pixels differ at both frames.

    scripts/render_check.py [--flio PATH] [--list FILE] [--all] [--frames A,B]
                            [--jobs N] [--work DIR] [--keep] [FILE.swf ...]
                            [-- ROUNDTRIP_OPTIONS...]

--list reads file names (relative to the corpus folder, one per line, '#' starts a
comment), each optionally followed by the frames to compare ("file.swf 1,6,13");
--all takes every file of the corpus. Files the player itself cannot
render are listed with its message and do not count as failures. Prints one line
per file and a summary; exits 1 when a file fails.
"""
import argparse
import concurrent.futures
import json
import os
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
CORPUS = os.path.normpath(os.path.join(ROOT, "..", "shared", "corpus"))
TOOLS = os.path.normpath(os.path.join(ROOT, "..", "shared", "tools"))
RENDER = os.path.join(TOOLS, "render", "render.sh")
COMPARE = os.path.join(TOOLS, "render", "compare.py")


def render(swf, png, frames):
    """Renders swf at `frames`; returns None or the player's complaint."""
    r = subprocess.run([RENDER, swf, png, "--frames", str(frames), "--timeout", "60"],
                       stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if r.returncode != 0 or not os.path.exists(png):
        lines = [l for l in r.stderr.splitlines() if l.strip()]
        return lines[-1] if lines else f"render exit status {r.returncode}"
    return None


def compare(a, b, diff_out):
    r = subprocess.run([sys.executable, COMPARE, a, b, "--max-diff", "0.01", "--json", "--diff-out", diff_out],
                       stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    try:
        return json.loads(r.stdout)["fraction"], r.returncode == 0
    except (ValueError, KeyError):
        return None, False


def check(name, path, args, work, frame_list):
    base = os.path.join(work, name.replace("/", "__").replace(".swf", ""))
    os.makedirs(base, exist_ok=True)
    out = os.path.join(base, "out.swf")
    rt = subprocess.run([args.flio, "roundtrip", path, out] + args.options,
                        stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if rt.returncode != 0:
        return {"file": name, "status": "fail", "why": "roundtrip: " + rt.stderr.strip().splitlines()[-1]}
    result = {"file": name, "status": "pass", "frames": {}}
    for frames in frame_list:
        orig_png = os.path.join(base, f"orig-{frames}.png")
        out_png = os.path.join(base, f"out-{frames}.png")
        why = render(path, orig_png, frames)
        if why:
            return {"file": name, "status": "skip", "why": "the player cannot render the original: " + why}
        why = render(out, out_png, frames)
        if why:
            return {"file": name, "status": "fail", "why": "the player cannot render the copy: " + why}
        fraction, ok = compare(orig_png, out_png, os.path.join(base, f"diff-{frames}.png"))
        result["frames"][frames] = fraction
        if not ok:
            result["status"] = "fail"
    return result


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--flio", default=os.path.join(ROOT, "build", "tools", "flio", "flio"))
    ap.add_argument("--list")
    ap.add_argument("--all", action="store_true")
    ap.add_argument("--frames", default="1,24")
    ap.add_argument("--jobs", type=int, default=2)
    ap.add_argument("--work")
    ap.add_argument("--keep", action="store_true", help="keep the work folder (renders and diffs)")
    ap.add_argument("--json", help="write the results to this file")
    ap.add_argument("files", nargs="*")
    argv = sys.argv[1:]
    options = []
    if "--" in argv:
        options = argv[argv.index("--") + 1:]
        argv = argv[:argv.index("--")]
    args = ap.parse_args(argv)
    args.options = options
    args.frames = [int(f) for f in args.frames.split(",")]

    frames_of = {}
    if args.all:
        for root, _, files in os.walk(CORPUS):
            for f in files:
                if f.endswith(".swf"):
                    frames_of[os.path.relpath(os.path.join(root, f), CORPUS)] = args.frames
    if args.list:
        with open(args.list) as f:
            for line in f:
                fields = line.split("#")[0].split()
                if fields:
                    frames_of[fields[0]] = [int(n) for n in fields[1].split(",")] if len(fields) > 1 else args.frames
    for name in args.files:
        frames_of[name] = args.frames
    names = sorted(frames_of)
    if not names:
        ap.error("no files")

    work = args.work or tempfile.mkdtemp(prefix="flio-render-")
    os.makedirs(work, exist_ok=True)
    results = []
    with concurrent.futures.ThreadPoolExecutor(max_workers=args.jobs) as pool:
        futures = {}
        for name in names:
            path = name if os.path.isabs(name) else os.path.join(CORPUS, name)
            futures[pool.submit(check, name, path, args, work, frames_of[name])] = name
        for fut in concurrent.futures.as_completed(futures):
            r = fut.result()
            results.append(r)
            detail = r.get("why") or "  ".join(f"frame {k}: {v * 100:.2f} %" if v is not None else f"frame {k}: ?"
                                               for k, v in r["frames"].items())
            print(f"{r['status']:5} {r['file']}  {detail}", flush=True)
    results.sort(key=lambda r: r["file"])
    count = {s: sum(1 for r in results if r["status"] == s) for s in ("pass", "fail", "skip")}
    print(f"render_check: {count['pass']} pass, {count['fail']} fail, {count['skip']} the player cannot render"
          f" (work folder {work})")
    if args.json:
        with open(args.json, "w") as f:
            json.dump(results, f, indent=1)
    if not args.keep and not args.work:
        shutil.rmtree(work, ignore_errors=True)
    return 1 if count["fail"] else 0


if __name__ == "__main__":
    sys.exit(main())
