#!/usr/bin/env python3
"""Checks that the test suite catches a list of deliberate one-line faults.

Each fault changes one line of the library. For each, the script applies it,
rebuilds the tests in BUILD_DIR (default: build), runs them, and restores the
file; a fault is caught when at least one test fails. The source tree is left as
it was, also when the script is interrupted.

    scripts/mutation_check.py [BUILD_DIR] [--only NAME]

Prints one line per fault and exits 1 when any fault goes unnoticed.
"""
import os
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))

# (name, file, text as it stands, text with the fault)
FAULTS = [
    ("io: 16.16 fraction scaled by 65535", "io/flaDump.cpp",
     "TruncToInt64((v - integer) * 65536.0)", "TruncToInt64((v - integer) * 65535.0)"),
    ("io: signed bit fields not sign-extended", "io/flaRead.cpp",
     "(v & (1u << (n - 1)))", "(v & (1u << n))"),
    ("records: a matrix scaled on one axis written without scale", "records/flaRecordBits.h",
     "TruncToInt32(a) == fixed && TruncToInt32(b) == fixed", "TruncToInt32(a) == fixed || TruncToInt32(b) == fixed"),
    ("records: colour transform flags swapped", "records/flaRecordBits.h",
     "    out.Bit(isAdd);\n", "    out.Bit(isMult);\n"),
    ("frames: moves never written", "movie/flaFrameDump.cpp",
     "summary.DiffersFromAny(e) || e.GetMatrix() != old->GetMatrix()", "summary.DiffersFromAny(e)"),
    ("frames: depths that are gone not removed at the end of the list", "movie/flaFrameDump.cpp",
     "if (c == displayList.end() || c->first != entry.first)", "if (c != displayList.end() && c->first != entry.first)"),
    ("frames: first frame without background", "movie/flaFrameDump.cpp",
     "(!previous || background != previous->background)", "(previous && background != previous->background)"),
    ("shapes: a curve whose control is its anchor written as a curve", "shapes/flaGeometryWriter.cpp",
     "if (control == from || control == anchor)", "if (control == from)"),
    ("shapes: bitmap fill tiling read inverted", "shapes/flaStyleRecords.cpp",
     "(type & Fill::TiledBit) != 0", "(type & Fill::TiledBit) == 0"),
    ("text: kerning taken from the character's own entry", "text/flaText.cpp",
     "i + 1 < kerning.size() ? kerning[i + 1] : 0", "i < kerning.size() ? kerning[i] : 0"),
    ("filters: blur passes shifted by 2", "filters/flaFilterRecords.cpp",
     "Capped(passes, 31) << 3", "Capped(passes, 31) << 2"),
    ("import: PlaceObject2 ratio not skipped", "movie/flaMoviePlace.cpp",
     "f.details.ratio = reader.GetWord();", "f.details.ratio = 0;"),
    ("import: a move keeps the old matrix", "movie/flaMoviePlace.cpp",
     "if (f.hasMatrix) it->info.SetMatrix(f.matrix);", "if (false) it->info.SetMatrix(f.matrix);"),
    ("import: sprite end frame taken from every showing", "movie/flaMoviePlace.cpp",
     "entry.framesShown == 0", "entry.framesShown < 1000000"),
    ("sound: 16538 Hz counted as 11 kHz", "sound/flaSound.cpp",
     "if (rate < 16538) return 1;", "if (rate <= 16538) return 1;"),
]


def run(cmd, **kw):
    return subprocess.run(cmd, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **kw)


def main():
    args = sys.argv[1:]
    only = None
    if "--only" in args:
        i = args.index("--only")
        only = args[i + 1]
        del args[i:i + 2]
    build = args[0] if args else "build"
    jobs = str(os.cpu_count() or 2)
    missed = []
    for name, path, before, after in FAULTS:
        if only and only not in name:
            continue
        full = os.path.join(ROOT, path)
        with open(full) as f:
            original = f.read()
        if original.count(before) != 1:
            print(f"STALE   {name}: the line is not in {path} exactly once")
            missed.append(name)
            continue
        try:
            with open(full, "w") as f:
                f.write(original.replace(before, after))
            b = run(["cmake", "--build", build, "-j", jobs, "--target", "flio_tests", "flio_cli"])
            if b.returncode != 0:
                print(f"BUILD   {name}: the fault does not compile\n{b.stdout[-2000:]}")
                missed.append(name)
                continue
            t = run(["ctest", "--test-dir", build, "-j", jobs])
            failed = [l.split(" - ")[-1].strip() for l in t.stdout.splitlines() if "(Failed)" in l or "(SEGFAULT)" in l
                      or "(Subprocess aborted)" in l or "(Timeout)" in l]
            if t.returncode != 0:
                print(f"caught  {name}: {len(failed)} test(s) fail, e.g. {', '.join(failed[:3])}")
            else:
                print(f"MISSED  {name}")
                missed.append(name)
        finally:
            with open(full, "w") as f:
                f.write(original)
    run(["cmake", "--build", build, "-j", jobs, "--target", "flio_tests", "flio_cli"])
    print(f"{len(missed)} fault(s) not caught" if missed else "every fault caught")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
