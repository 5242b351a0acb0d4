#!/usr/bin/python3
"""Renames a dataset there and back, copies it from and to places of every kind, without permissions, and while somebody else changes things.

    copies_test.py CTFMEG; ends with 77 where strace can't trace
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

from faults_test import simulate, tree

CTFMEG = pathlib.Path(sys.argv[1]).resolve()
CHANGED = "was changed while it was copied: the copy is given up"


def fresh():
    for path in pathlib.Path(".").iterdir():
        shutil.rmtree(path) if path.is_dir() and not path.is_symlink() else path.unlink()
    simulate(CTFMEG, "run.ds")


def start(*words, before=(), folder="."):
    return subprocess.Popen([*before, CTFMEG, *words], cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, text=True, errors="surrogateescape")


def expect(process, code, sentence):
    text = "".join(sorted(process.communicate()[1].splitlines(keepends=True)))
    assert (process.returncode, text) == (code, sentence), (process.returncode, text, process.args)


def places():
    for source, out, folder in (("run.ds", "a.ds", "."), (".", "../a.ds", "run.ds"), ("run.ds/", "a.ds/", "."),
                                ("run.ds/run.res4", "./a.ds//", "."), ("run.ds", "with blanks, Ü.ds", "."),
                                (b"run.ds", os.path.abspath("a.ds"), ".")):
        fresh()
        (pathlib.Path("run.ds") / os.fsdecode(b"\xff x")).write_text("bytes that are no UTF-8")
        expect(start("rename", source, out, folder=folder), 0, "")
        made = pathlib.Path(folder, out)
        names = {path.name.replace("run.", made.stem + ".") for path in pathlib.Path("run.ds").iterdir()}
        assert names == {path.name for path in made.iterdir()}, names


def there_and_back():
    """The name in every text changes where it is one, and everything is as it was under the old name again."""
    for name, other in (("run", "n.b.c"), ("S01 rest.v2", "Übung, die länger heißt"), ("x" * 40, "short")):
        fresh()
        dataset = pathlib.Path(name + ".ds")
        if name != "run":
            simulate(CTFMEG, dataset)
        simulate(CTFMEG, dataset / "hz.ds")
        text = ("/d/{0}.ds/{0}.meg4\r\nC:\\m\\{0}\\hz.ds of={0}.res4 " + "{1} x{1} {1}x my{1}.ds\0\t{1}\n").format
        (dataset / (name + ".newds")).write_bytes(text(name, name).encode("cp1252"))
        (dataset / "hist").write_bytes(text(name, name).encode("cp1252"))
        markers = dataset / "MarkerFile.mrk"
        markers.write_bytes(markers.read_bytes().replace(b"\n", b"\r\n"))
        os.mkdir("back")
        expect(start("rename", dataset, other + ".ds"), 0, "")
        expect(start("rename", other + ".ds", f"back/{name}.ds"), 0, "")
        made = pathlib.Path(other + ".ds")
        assert (made / "hist").read_bytes() == (made / (other + ".newds")).read_bytes() == text(other, name).encode("cp1252")
        assert markers.read_bytes().replace(name.encode(), other.encode("cp1252")) == (made / "MarkerFile.mrk").read_bytes()
        assert subprocess.run(["diff", "-r", dataset, "back/" + name + ".ds"]).returncode == 0, name


def refused_places():
    fresh()
    os.symlink("nowhere", "link.ds")
    os.mkdir("empty.ds")
    before = tree(pathlib.Path("."))
    there = "is there already: a copy never replaces anything"
    for out, path, sentence in (("run.ds", "run.ds", there), ("link.ds", "link.ds", there), ("link.ds/", "link.ds/", there),
                                ("empty.ds", "empty.ds", there), ("run.ds/in.ds",) * 2 + ("is inside of the dataset that is copied",),
                                ("no/a.ds", "no", "is no folder: the copy is to be made in it"),
                                ("x" * 300 + ".ds",) * 2 + ("can't be written: File name too long",)):
        expect(start("rename", "run.ds", out), 1, f"ctfmeg: {path}: {sentence}\n")
        assert tree(pathlib.Path(".")) == before, out


def links():
    fresh()
    samples = pathlib.Path("run.ds/run.meg4")
    samples.rename("store")
    samples.symlink_to("../store")
    os.symlink("..", "run.ds/folder")
    os.symlink("nowhere", "run.ds/lock")
    os.mkfifo("run.ds/pipe")
    expect(start("rename", "run.ds", "a.ds", before=["timeout", "20"]), 0, "".join(sorted(
        f"ctfmeg: run.ds/{name}: warning: {what}, and is not copied\n" for name, what in
        (("folder", "is a link to a folder"), ("lock", "is a link that leads nowhere"), ("pipe", "is no file")))))
    assert not os.path.islink("a.ds/a.meg4") and pathlib.Path("a.ds/a.meg4").read_bytes() == samples.read_bytes()
    assert not {"folder", "lock", "pipe"} & set(os.listdir("a.ds"))
    os.unlink("store")
    expect(start("rename", "run.ds", "b.ds"), 1, "ctfmeg: run.ds/run.meg4: is a link that leads nowhere\n")


def permissions():
    nobody = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"] if os.getuid() == 0 else []
    for path, mode, out, sentence in (("run.ds/run.meg4", 0o200, "a.ds", "run.ds/run.meg4: can't be read"),
                                      ("run.ds/run.hc", 0o200, "a.ds", "run.ds/run.hc: can't be read"),
                                      ("run.ds/sub", 0o300, "a.ds", "run.ds/sub: can't be listed"),
                                      ("kept", 0o500, "kept/a.ds", "kept/a.ds: can't be written")):
        fresh()
        os.mkdir("run.ds/sub")
        os.mkdir("kept")
        os.chmod(path, mode)
        before = set(tree(pathlib.Path(".")))
        os.chmod(".", 0o777)
        expect(start("rename", "run.ds", out, before=nobody), 1, f"ctfmeg: {sentence}: Permission denied\n")
        assert set(tree(pathlib.Path("."))) == before
        os.chmod(path, 0o700)


def meanwhile():
    """The copy waits once its folder is there, until somebody did something."""
    def take(make):
        make("a.ds")
        return 1, "ctfmeg: a.ds: is there already: a copy never replaces anything\n"

    def change(name, text):
        with open("run.ds/" + name, "a") as file:
            file.write(text)
        return 1, f"ctfmeg: run.ds/{name}: {CHANGED}\n"

    def cut():
        os.truncate("run.ds/run.meg4", 100)
        return 1, "ctfmeg: run.ds/run.meg4: became shorter while it was copied\n"

    def touch():
        os.utime("run.ds/run.pos", (0, 0))
        return 1, f"ctfmeg: run.ds/run.pos: {CHANGED}\n"

    def remove():
        shutil.rmtree("run.ds")
        return 1, "ctfmeg: run.ds/BadChannels: can't be read: No such file or directory\n"

    waiting = ["strace", "-f", "-qq", "-o", "/dev/null", "-e", "trace=mkdir", "-e", "inject=mkdir:delay_exit=500000:when=1"]
    for act in (lambda: take(os.mkdir), lambda: take(lambda name: os.symlink("nowhere", name)), cut, touch, remove,
                lambda: change("run.meg4", "more"), lambda: change("MarkerFile.mrk", "\n")):
        fresh()
        process = start("rename", "run.ds", "a.ds", before=waiting)
        while process.poll() is None and not list(pathlib.Path(".").glob("*.part")):
            time.sleep(0.002)
        code, sentence = act()
        before = tree(pathlib.Path("."))
        expect(process, code, sentence)
        after = tree(pathlib.Path("."))
        assert set(after) == {name for name in before if ".part" not in name}, set(after)


def other_systems():
    """File systems that can't do what Linux's own can."""
    for inject in ("ioctl:error=EOPNOTSUPP", "copy_file_range:error=ENOSYS", "copy_file_range:error=EXDEV",
                   "copy_file_range:error=EIO", "copy_file_range:retval=0", "renameat2:error=EINVAL"):
        fresh()
        expect(start("rename", "run.ds", "a.ds"), 0, "")
        expect(start("rename", "run.ds", "b/a.ds" if os.mkdir("b") else "b/a.ds", before=[
            "strace", "-f", "-qq", "-o", "/dev/null", "-e", "trace=" + inject.split(":")[0], "-e", "inject=" + inject]), 0, "")
        assert subprocess.run(["diff", "-r", "a.ds", "b/a.ds"]).returncode == 0, inject


def main():
    traced = shutil.which("strace") and subprocess.run(["strace", "-o", "/dev/null", "true"], capture_output=True)
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        for test in (places, there_and_back, refused_places, links, permissions):
            test()
        if not traced or traced.returncode != 0:
            print("strace can't trace here: not shown is what others do meanwhile")
            return 77
        meanwhile()
        other_systems()
    return 0


if __name__ == "__main__":
    sys.exit(main())
