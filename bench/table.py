"""Times reading, the least that it can cost and other ways to do it, and prints tables of ratios.

Run by scripts/bench: table.py PROGRAMS DATA, the folder of built programs and one for the recordings, which are
simulated when they are not there.
"""

import json
import os
import random
import shutil
import struct
import subprocess
import sys
import time
from pathlib import Path

PROGRAMS, DATA = Path(sys.argv[1]), Path(sys.argv[2])
REPETITIONS = int(os.environ.get("BENCH_REPETITIONS", "7"))
CTFMEG = str(PROGRAMS / "ctfmeg")
NUMPY = Path(__file__).parent / "read_numpy.py"


def recording(name, channels, trials, samples, split=0):
    """A simulated recording, kept from one run to the next."""
    path = DATA / f"{name}.ds"
    if not path.exists():
        command = [CTFMEG, "simulate", path, "--channels", channels, "--trials", trials, "--samples", samples]
        if split:
            command += ["--split-after", split]
        subprocess.run([str(word) for word in command + ["--quiet"]], check=True)
    return path


def stretched(name, channels, trials, samples, files=1, filled=False):
    """A recording of any size: a small one whose header says more, and sample files of that length. They are one hole,
    which takes no room on the disk, or filled with the small one's samples again and again."""
    path = DATA / f"{name}.ds"
    if path.exists():
        return path
    path = recording(name, channels, 1, 12000)
    resource, meg4 = path / f"{name}.res4", path / f"{name}.meg4"
    with open(resource, "r+b") as file:
        for offset, layout, value in ((1288, ">i", samples), (1312, ">h", trials), (1320, ">h", trials)):
            file.seek(offset)
            file.write(struct.pack(layout, value))
    header, some = meg4.read_bytes()[:8], meg4.read_bytes()[8:]
    for i in range(files):
        with open(path / f"{name}.{f'{i}_' if i else ''}meg4", "wb") as file:
            file.write(header)
            end = 8 + 4 * channels * samples * (trials // files)
            while filled and file.tell() < end:
                file.write(some[:end - file.tell()])
            file.truncate(end)
    return path


def sample_files(path):
    return sorted(path.glob("*meg4"))


def sample_bytes(path):
    return sum(file.stat().st_size - 8 for file in sample_files(path))


def in_process(name, path):
    """Seconds of one benchmark of the program, measured by itself."""
    out = subprocess.run(
        [PROGRAMS / "megreader_bench", f"--benchmark_filter=^{name}/", "--benchmark_format=json"],
        env={**os.environ, "BENCH_DATASET": str(path)}, check=True, capture_output=True).stdout
    return json.loads(out)["benchmarks"][0]["real_time"] / 1000


def numpy_seconds(kind, path, channels=300, samples=12000):
    command = [sys.executable, NUMPY, kind, str(channels), str(samples), *sample_files(path)]
    out = subprocess.run(command, check=True, capture_output=True).stdout
    return float(out)


def command_seconds(command):
    start = time.perf_counter()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, shell=isinstance(command, str))
    return time.perf_counter() - start


def drop_from_cache(path):
    for file in sample_files(path):
        descriptor = os.open(file, os.O_RDONLY)
        os.fsync(descriptor)
        os.posix_fadvise(descriptor, 0, 0, os.POSIX_FADV_DONTNEED)
        os.close(descriptor)


def best(contenders, repetitions=REPETITIONS, before=lambda: None):
    """The shortest time of each, all of them run once in every round, in a new order each time."""
    seconds = {name: [] for name in contenders}
    for _ in range(repetitions):
        for name in random.sample(list(contenders), len(contenders)):
            before()
            seconds[name].append(contenders[name]())
    return {name: min(values) for name, values in seconds.items()}


def row(cells, widths):
    print("| " + " | ".join(str(cell).ljust(width) for cell, width in zip(cells, widths)) + " |", flush=True)


def table(head, rows):
    widths = [max(len(str(line[i])) for line in [head, *rows]) for i in range(len(head))]
    row(head, widths)
    row(["-" * width for width in widths], widths)
    for line in rows:
        row(line, widths)
    print(flush=True)


def ratios(title, times, reference, digits=1):
    rows = [(name, f"{1000 * seconds:.{digits}f}", f"{seconds / times[reference]:.2f}") for name, seconds in times.items()]
    table((title, "ms", f"times {reference}"), rows)


def peak(command, env=None):
    """Peak resident memory of a command in bytes."""
    process = subprocess.Popen(command, env=env, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    assert process.returncode == 0, command
    return usage.ru_maxrss * 1024


def whole_reads():
    for name, path in (("trials of 14.4 MB", recording("large", 300, 84, 12000)),
                       ("trials of 1.05 MB", recording("small", 300, 1152, 875))):
        contenders = {
            "floor": lambda: in_process("Floor", path),
            "floor, all processors": lambda: in_process("FloorThreads", path),
            "facade": lambda: in_process("Facade", path),
            "facade, several threads": lambda: in_process("FacadeThreads", path),
            "Recording": lambda: in_process("RecordingWhole", path),
            "NumPy, int32": lambda: numpy_seconds("int32", path),
            "cat": lambda: command_seconds(["cat", *sample_files(path)]),
        }
        ratios(f"{name}, {sample_bytes(path) / 1e9:.2f} GB", best(contenders), "floor")
    path = recording("large", 300, 84, 12000)
    ratios("physical values", best({
        "Recording, trial by trial": lambda: in_process("RecordingPhysical", path),
        "NumPy, float64 kept": lambda: numpy_seconds("float64", path),
        "NumPy, nothing kept, row by row": lambda: numpy_seconds("rows", path)}),
        "Recording, trial by trial")
    ratios("not in the cache", best({
        "floor": lambda: in_process("Floor", path),
        "facade": lambda: in_process("Facade", path)}, 3, lambda: drop_from_cache(path)), "floor")


def small_costs():
    for name, path in (("10,000 trials of 100 samples", recording("short", 30, 10000, 100)),
                       ("1,000 channels", recording("wide", 1000, 10, 3000)),
                       ("eight files", recording("eight", 300, 16, 3000, 2))):
        ratios(f"{name}, {sample_bytes(path) / 1e6:.0f} MB",
               best({"floor": lambda: in_process("Floor", path), "facade": lambda: in_process("Facade", path),
                     "facade, several threads": lambda: in_process("FacadeThreads", path)}), "floor")
    short, large = recording("one", 300, 1, 1200), recording("large", 300, 84, 12000)
    ratios("starting the command", best({
        "--version": lambda: command_seconds([CTFMEG, "--version"]),
        "info, 1.4 MB of samples": lambda: command_seconds([CTFMEG, "info", short]),
        "info, 1.2 GB of samples": lambda: command_seconds([CTFMEG, "info", large]),
    }, 4 * REPETITIONS), "--version")


def exports():
    path, out, copy = recording("large", 300, 84, 12000), DATA / "out.npy", DATA / "copy"
    meg4 = sample_files(path)[0]

    def fresh(work):
        for file in (out, copy):
            file.unlink(missing_ok=True)
        os.sync()
        return work()

    times = best({
        "read": lambda: in_process("RecordingWhole", path),
        "cp": lambda: fresh(lambda: command_seconds(["cp", meg4, copy])),
        "export": lambda: fresh(lambda: command_seconds([CTFMEG, "export", "--quiet", path, "-o", out])),
        "export to a pipe": lambda: command_seconds(f"'{CTFMEG}' export --quiet '{path}' -o - | cat"),
        "cat to a pipe": lambda: command_seconds(f"cat '{meg4}' | cat"),
    })
    fresh(lambda: None)
    times = {"read and cp": times["read"] + times["cp"], **times}
    ratios("export, 1.21 GB", times, "read and cp")


def growth():
    rows = []
    for gigabytes in (0.25, 0.5, 1, 2, 4):
        trials = round(gigabytes * 1e9 / 14.4e6)
        path = recording(f"growth-{gigabytes}", 300, trials, 12000, 100)
        size = sample_bytes(path)
        seconds = best({"facade": lambda: in_process("Facade", path)}, 3)["facade"]
        environment = {**os.environ, "BENCH_DATASET": str(path)}
        resident = peak([PROGRAMS / "megreader_bench", "--benchmark_filter=^Facade/"], environment)
        rows.append((f"{size / 1e9:.2f}", f"{seconds:.2f}", f"{seconds / size * 1e9:.3f}", f"{(resident - size) / 1e6:.1f}"))
        if gigabytes > 1:
            shutil.rmtree(path)
    table(("GB", "s", "s per GB", "peak memory beyond the samples, MB"), rows)


def windows():
    path = stretched("long", 300, 1, 1_000_000, filled=True)
    command_seconds(["cat", *sample_files(path)])  # into the cache
    for name, size in (("1 s x 300 channels", "300/1200"), ("10 s x 1 channel", "1/12000")):
        ratios(f"1000 windows of {name}, 1.2 GB in one trial", best({
            "floor": lambda: in_process(f"WindowsFloor/{size}/1000", path),
            "Recording": lambda: in_process(f"Windows/{size}/1000", path)}, 2 * REPETITIONS), "floor")
    path = stretched("cold", 300, 1, 3_333_333, filled=True)
    for name, size in (("1 s x 300 channels", "300/1200"), ("10 s x 1 channel", "1/12000")):
        ratios(f"first window of {name}, 4 GB not in the cache", best({
            "floor": lambda: in_process(f"WindowsFloor/{size}/1", path),
            "Recording": lambda: in_process(f"Windows/{size}/1", path)}, before=lambda: drop_from_cache(path)),
            "floor", 2)
    shutil.rmtree(path)
    small, large = stretched("open-10MB", 300, 12, 700), stretched("open-20GB", 300, 120, 139_000, files=12)
    for name, benchmark in (("opening", "RecordingHeader"), ("opening, sample files looked at", "RecordingFiles")):
        ratios(name, best({
            "10 MB, one file": lambda: in_process(benchmark, small),
            "20 GB, twelve files": lambda: in_process(benchmark, large)}, 4 * REPETITIONS), "10 MB, one file", 2)


def described(path):
    """What `ctfmeg info` knows of a recording."""
    return json.loads(subprocess.run([CTFMEG, "info", "--json", path], check=True, capture_output=True).stdout)


def export_to_memory():
    """Of as much as the memory file system has room for twice."""
    memory = Path("/dev/shm")
    trials = min(84, int(shutil.disk_usage(memory).free / 2 / (14.4e6 * 2)))
    path = recording("large", 300, 84, 12000) if trials == 84 else recording(f"large-{trials}", 300, trials, 12000)
    gains, name = DATA / "gains", f"ctfmeg-bench-{os.getpid()}"
    channels = described(path)["channels"]
    gains.write_bytes(struct.pack(f"{len(channels)}d", *(channel["gain"] for channel in channels)))
    minimal, exported = memory / name, memory / f"{name}.npy"
    contenders = {
        "minimal program": [PROGRAMS / "minimal_export", gains, "12000", sample_files(path)[0], minimal],
        "export": [CTFMEG, "export", "--quiet", "--physical", path, "-o", exported],
        "export, one thread": [CTFMEG, "export", "--quiet", "--physical", "--threads", "1", path, "-o", exported],
    }

    def remove():
        for file in memory.glob(f"{name}*"):
            file.unlink()

    try:
        command_seconds(contenders["minimal program"])
        command_seconds(contenders["export"])
        beyond = exported.stat().st_size - minimal.stat().st_size  # the array's own header
        subprocess.run(["cmp", "-i", f"0:{beyond}", minimal, exported], check=True)
        times = best({key: lambda command=command: command_seconds(command) for key, command in contenders.items()},
                     before=remove)
    finally:
        remove()
    ratios(f"float64 of {sample_bytes(path) / 1e9:.2f} GB to memory", times, "minimal program")


def resident(command):
    """Peak resident memory of a command in bytes, measured by a program that is small itself: what its parent holds
    counts for a command, too."""
    out = subprocess.run(["time", "-f", "%M", *command], check=True, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE).stderr
    return int(out.split()[-1]) * 1024


def memory_of_exports():
    kinds = {"int32": [], "--physical": ["--physical"], "--continuous": ["--continuous"],
             "one channel": ["--channels", "MLC11"], "--compensation 3": ["--compensation", "3"],
             "--decimate 4": ["--decimate", "4"], "--around": ["--around", "tone", "--from", "-0.1", "--to", "5"]}
    program, rows = resident([CTFMEG, "--version"]), []
    for gigabytes in (0.25, 1, 4):
        path = recording(f"growth-{gigabytes}", 300, round(gigabytes * 1e9 / 14.4e6), 12000, 100)
        command = [CTFMEG, "export", "--quiet", path, "-o", os.devnull]
        rows.append((f"{sample_bytes(path) / 1e9:.2f}",
                     *(f"{(resident([*command, *kind]) - program) / 1e6:.1f}" for kind in kinds.values()),
                     f"{(resident([CTFMEG, 'average', *command[2:], *kinds['--around']]) - program) / 1e6:.1f}"))
        if gigabytes > 1:
            shutil.rmtree(path)
    table(("GB", *(f"{kind}, MB beyond --version" for kind in (*kinds, "average"))), rows)


def bytes_read(command):
    """By all reads of a command, from files and from the system."""
    process = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOWAIT)  # what it read is known until it is waited for
    read = int(Path(f"/proc/{process.pid}/io").read_text().split()[1])
    assert process.wait() == 0, command
    return read


def bytes_of_selections():
    one, sixty = stretched("read-1.5GB", 318, 1, 1_200_000), stretched("read-60", 318, 60, 12000)
    start, rows = bytes_read([CTFMEG, "--version"]), []
    for name, path, selection, wanted in (
            ("1200 samples of 1.5 GB in one trial", one, ["--samples", "600000:601199"], 318 * 1200 * 4),
            ("one of 60 trials of 916 MB", sixty, ["--trials", "30"], 318 * 12000 * 4),
            ("1200 samples of one channel", one, ["--samples", "600000:601199", "--channels", "MLC11"], 1200 * 4)):
        header = bytes_read([CTFMEG, "info", "--quiet", path]) - start
        read = bytes_read([CTFMEG, "export", "--quiet", path, *selection, "-o", os.devnull]) - start
        rows.append((name, *(f"{count / 1000:.1f}" for count in (header, read, wanted)), f"{(read - header) / wanted:.2f}"))
    table(("what is read", "by info, KB", "by export, KB", "wanted, KB", "(export - info) / wanted"), rows)


def streams():
    export_to_memory()
    memory_of_exports()
    bytes_of_selections()


def package_seconds(kind, path, *words):
    """What read_python.py says of a recording, with the Python package of this tree."""
    environment = {**os.environ, "PYTHONPATH": str(NUMPY.parents[1] / "python"),
                   "LD_LIBRARY_PATH": str(PROGRAMS.parent / "lib")}
    command = [sys.executable, NUMPY.with_name("read_python.py"), kind, path, *map(str, words)]
    return float(subprocess.run(command, env=environment, check=True, capture_output=True).stdout)


def python():
    path = recording("large", 300, 84, 12000)
    command_seconds(["cat", *sample_files(path)])  # into the cache
    ratios("all of 1.21 GB as integers", best({
        "C++ library": lambda: in_process("RecordingWhole", path),
        "np.asarray(rec.raw)": lambda: package_seconds("raw", path),
        "np.fromfile and astype": lambda: package_seconds("numpy-raw", path, 300, 12000, *sample_files(path))}),
        "C++ library")
    beyond = package_seconds("raw", path, "memory") / 1e6
    table(("peak memory of np.asarray(rec.raw)", "MB"), [("beyond the array", f"{beyond:.1f}")])
    path = stretched("long", 300, 1, 1_000_000, filled=True)
    command_seconds(["cat", *sample_files(path)])
    ratios("1000 windows of 1 s x 300 channels in tesla", best({
        "NumPy, memory map": lambda: package_seconds("numpy-windows", path, 300, 1_000_000, *sample_files(path)),
        "rec.data[0, :, a:b]": lambda: package_seconds("windows", path)}), "NumPy, memory map")
    small, large = stretched("open-10MB", 300, 12, 700), stretched("open-20GB", 300, 120, 139_000, files=12)
    ratios("ctfmeg.open", best({
        "10 MB, one file": lambda: package_seconds("open", small),
        "20 GB, twelve files": lambda: package_seconds("open", large)}), "10 MB, one file", 2)


def signals():
    for name, path in (("trials of 14.4 MB", recording("large", 300, 84, 12000)),
                       ("one trial", recording("one-trial", 300, 1, 1_000_000))):
        command_seconds(["cat", *sample_files(path)])  # into the cache
        ratios(f"statistics, {name}, {sample_bytes(path) / 1e9:.2f} GB", best({
            "read, one thread": lambda: in_process("RecordingWindows", path),
            "floor": lambda: in_process("Floor", path),
            "statistics, one thread": lambda: in_process("Statistics", path),
            "statistics, several threads": lambda: in_process("StatisticsThreads", path)}), "read, one thread", 2)


def product_seconds(path, library):
    """NumPy's matrix product with one of Debian's libraries for it."""
    channels = described(path)["channels"]
    count = [sum(channel["kind"] in kinds for channel in channels)
             for kinds in (("magnetometer", "gradiometer"), ("ref-magnetometer", "ref-gradiometer"))]
    command = [sys.executable, NUMPY.with_name("product_numpy.py"), *map(str, count), "12000", "84"]
    libraries = f"/usr/lib/x86_64-linux-gnu/{library}"
    out = subprocess.run(command, check=True, capture_output=True, env={**os.environ, "LD_LIBRARY_PATH": libraries}).stdout
    return float(out)


def processing():
    large = recording("large", 300, 84, 12000)
    command_seconds(["cat", *sample_files(large)])  # into the cache
    ratios(f"order 3 of {sample_bytes(large) / 1e9:.2f} GB", best({
        "physical values": lambda: in_process("Physical", large),
        "order 3": lambda: in_process("Compensated", large),
        "every 4th, filtered": lambda: in_process("Decimated", large),
        "NumPy, libblas3": lambda: product_seconds(large, "blas"),
        "NumPy, libopenblas0": lambda: product_seconds(large, "openblas-pthread")}), "physical values")
    ratios("100 epochs of 1200 samples, 300 channels", best({
        "windows": lambda: in_process("EpochBytes", large),
        "epochs": lambda: in_process("Epochs", large)}), "windows")
    long = recording("two-channels", 2, 1, 250_000_000)
    command_seconds(["cat", *sample_files(long)])
    ratios("a channel of 1 GB in 1000 pixels", best({
        "read, one thread": lambda: in_process("RecordingChannel", long),
        "drawn": lambda: in_process("Drawing", long),
        "drawn again": lambda: in_process("DrawingAgain", long)}), "read, one thread")


PARTS = {part.__name__: part
         for part in (whole_reads, small_costs, exports, growth, windows, streams, signals, processing, python)}
for name in sys.argv[3:]:
    if name not in PARTS:
        sys.exit(f"bench: there is no part {name}, only {', '.join(PARTS)}")
for name in sys.argv[3:] or PARTS:
    PARTS[name]()
