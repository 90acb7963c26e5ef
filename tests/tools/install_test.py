#!/usr/bin/env python3
"""What a user installs: `cmake --install` and the Debian package of a build.

    python3 tests/tools/install_test.py <build dir>

- A staged install (DESTDIR) holds exactly the program, the manual page and the
  bash completion, and the staged program dumps the bundled example.
- The manual page renders without warnings and names every option of the
  program's own option list, and the hidden ones.
- The completion offers exactly those options, the architecture levels after
  -arch, files after -cmp and "@" files.
- The package holds the same three files under /usr, and its dependencies are the
  packages of the libraries the binary really links, as dpkg finds them from the
  binary's NEEDED entries.
"""
import os
import re
import shlex
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.join(os.path.dirname(os.path.dirname(os.path.abspath(__file__))), "lib"))
from checks import check, summary  # noqa: E402

BUILD = os.path.abspath(sys.argv[1])
ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
EXAMPLE = os.path.join(ROOT, "examples", "blinky", "blinky.elf")
HIDDEN = ["-mm", "-setVFPflags", "-setObject", "-deTISection", "-ThumbSymbols"]
EXPECTED_FILES = {"usr/bin/elfdwarfdump", "usr/share/man/man1/elfdwarfdump.1",
                  "usr/share/bash-completion/completions/elfdwarfdump"}

def files_under(top):
    found = set()
    for dirpath, _, names in os.walk(top):
        for n in names:
            found.add(os.path.relpath(os.path.join(dirpath, n), top))
    return found


def listed_options(binary):
    """The options of the program's own option list (-help), in its order."""
    p = subprocess.run([binary, "-help"], capture_output=True, text=True)
    return [m.group(1) for m in re.finditer(r"^  (-\S+)", p.stdout, re.M)]


def complete(script, words, cwd):
    """COMPREPLY of the completion function for the words typed so far."""
    quoted = " ".join(shlex.quote(w) for w in words)
    program = (f"source {shlex.quote(script)}; COMP_WORDS=({quoted}); COMP_CWORD={len(words) - 1}; "
               "COMPREPLY=(); _elfdwarfdump; printf '%s\\n' \"${COMPREPLY[@]}\"")
    p = subprocess.run(["bash", "-c", program], capture_output=True, text=True, cwd=cwd)
    return [line for line in p.stdout.split("\n") if line]


def test_staged_install(tmp):
    stage = os.path.join(tmp, "stage")
    env = dict(os.environ, DESTDIR=stage)
    p = subprocess.run(["cmake", "--install", BUILD, "--prefix", "/usr"], capture_output=True, text=True, env=env)
    check("install runs", p.returncode == 0, p.stderr)
    found = files_under(stage)
    check("installed files", found == EXPECTED_FILES, f"{sorted(found)}")
    binary = os.path.join(stage, "usr/bin/elfdwarfdump")
    check("program executable", os.access(binary, os.X_OK))
    p = subprocess.run([binary, "-header", "-sections", "-symbols-sorted", EXAMPLE], capture_output=True, text=True)
    check("installed program dumps the example", p.returncode == 0 and "e_machine   : 0x28" in p.stdout,
          f"status {p.returncode} {p.stderr[:200]}")
    return stage, binary


def test_manual_page(stage, options):
    page = os.path.join(stage, "usr/share/man/man1/elfdwarfdump.1")
    p = subprocess.run(["man", "--warnings", "-l", page], capture_output=True, text=True,
                       env=dict(os.environ, MANWIDTH="80", LC_ALL="C"))
    check("manual page renders", p.returncode == 0, p.stderr)
    check("manual page without warnings", p.stderr == "", p.stderr[:500])
    # Bold and underline come as overstrikes (a character, a backspace, a character).
    text = re.sub(r".\x08", "", p.stdout)
    # The rendered page hyphenates at line ends; an option counts when it starts an entry.
    entries = set(re.findall(r"^ {7}(-\S+)", text, re.M))
    for option in options + HIDDEN:
        check("manual page names the option", option in entries, option)
    for heading in ("SYNOPSIS", "OPTIONS", "OUTPUT ORDER", "INDIRECT FILES", "EXIT STATUS", "EXAMPLES"):
        check("manual page section", re.search(rf"^{heading}$", text, re.M) is not None, heading)


def test_completion(stage, options, tmp):
    script = os.path.join(stage, "usr/share/bash-completion/completions/elfdwarfdump")
    work = os.path.join(tmp, "work")
    os.mkdir(work)
    for name in ("firmware.elf", "args.txt"):
        open(os.path.join(work, name), "w").close()
    offered = complete(script, ["elfdwarfdump", "-"], work)
    check("completion offers every option", sorted(offered) == sorted(options + HIDDEN),
          f"missing {sorted(set(options + HIDDEN) - set(offered))}, extra {sorted(set(offered) - set(options + HIDDEN))}")
    check("completion of a prefix", complete(script, ["elfdwarfdump", "-symbols"], work) ==
          ["-symbols", "-symbols-sorted"])
    levels = complete(script, ["elfdwarfdump", "-arch", ""], work)
    check("architecture levels", "v7EM" in levels and "v8.1M_Mainline" in levels and "v4T" in levels, f"{levels}")
    check("file after -cmp", complete(script, ["elfdwarfdump", "-cmp", "fir"], work) == ["firmware.elf"])
    check("indirect file", complete(script, ["elfdwarfdump", "@a"], work) == ["@args.txt"])
    check("input file", complete(script, ["elfdwarfdump", "-header", "f"], work) == ["firmware.elf"])
    check("no files for -memory-usage", complete(script, ["elfdwarfdump", "-memory-usage", ""], work) == [])
    # Every level offered is one the program knows: an unknown name would decode every level
    # and an ARMv4T-only file shows the difference with a Thumb-2 instruction.
    for level in levels:
        p = subprocess.run([os.path.join(stage, "usr/bin/elfdwarfdump"), "-arch", level, "-header", EXAMPLE],
                           capture_output=True, text=True)
        check("level accepted", p.returncode == 0, level)


def test_package(tmp, binary):
    out = os.path.join(tmp, "package")
    p = subprocess.run(["cpack", "-G", "DEB", "--config", os.path.join(BUILD, "CPackConfig.cmake"), "-B", out],
                       capture_output=True, text=True, cwd=BUILD)
    check("package builds", p.returncode == 0, p.stdout[-500:] + p.stderr[-500:])
    debs = [f for f in os.listdir(out) if f.endswith(".deb")] if os.path.isdir(out) else []
    check("one package", len(debs) == 1, f"{debs}")
    if len(debs) != 1:
        return
    deb = os.path.join(out, debs[0])
    listing = subprocess.run(["dpkg-deb", "-c", deb], capture_output=True, text=True).stdout
    files = {line.split()[-1].lstrip("./") for line in listing.splitlines() if not line.startswith("d")}
    check("package files", files == EXPECTED_FILES, f"{sorted(files)}")
    depends = subprocess.run(["dpkg-deb", "-f", deb, "Depends"], capture_output=True, text=True).stdout
    depended = {d.strip().split()[0] for d in depends.split(",") if d.strip()}
    # The packages of the shared libraries the binary names, found another way: its
    # NEEDED entries, resolved by the dynamic linker's cache, owned by dpkg's packages.
    dynamic = subprocess.run(["objdump", "-p", binary], capture_output=True, text=True).stdout
    needed = re.findall(r"NEEDED\s+(\S+)", dynamic)
    cache = subprocess.run(["ldconfig", "-p"], capture_output=True, text=True).stdout
    owners = set()
    for lib in needed:
        m = re.search(rf"^\s+{re.escape(lib)} \(libc6,x86-64[^)]*\) => (\S+)", cache, re.M)
        if not m:
            m = re.search(rf"^\s+{re.escape(lib)} \([^)]*\) => (\S+)", cache, re.M)
        check("library found", m is not None, lib)
        if not m:
            continue
        path = os.path.realpath(m.group(1))
        q = subprocess.run(["dpkg", "-S", path], capture_output=True, text=True)
        if q.returncode != 0:
            q = subprocess.run(["dpkg", "-S", m.group(1)], capture_output=True, text=True)
        owners.add(q.stdout.split(":")[0].strip())
    check("Qt 6 Core among the dependencies", "libqt6core6" in depended, depends)
    check("dependencies are the linked libraries' packages", depended == owners,
          f"Depends {sorted(depended)}, linked {sorted(owners)}")


def main():
    with tempfile.TemporaryDirectory() as tmp:
        stage, binary = test_staged_install(tmp)
        options = listed_options(binary)
        check("option list read", len(options) >= 20, f"{options}")
        test_manual_page(stage, options)
        test_completion(stage, options, tmp)
        test_package(tmp, binary)
    sys.exit(summary("install"))


if __name__ == "__main__":
    main()
