"""Measures rqtext for the goals that it keeps: start-up below 10 ms, 16 MiB of memory for --lines on a file of 1 GiB.

    measure_tool.py PATH/TO/rqtext [GIBIBYTES]

Takes minutes, and room for the file in the folder for temporary files. Prints a table; fails when a goal is missed.
"""

import os
import subprocess
import sys
import tempfile
import time

STARTS = (["--version"], ["encodings"], ["to", "utf8"], ["to", "utf8", "-s", "ISO-8859-1"], ["to", "utf8", "-s", "Shift_JIS"],
          ["decode", "ncr", "--lines"])
RUNS = (["to", "utf16be"], ["from", "utf8"], ["from", "utf8", "-s", "GB18030"], ["decode", "ncr"], ["encode", "uesc"], ["width"])
LINE = "a line of caf&#233; text with 日本語 that is repeated many times over\n".encode()


def finish(process, begin):
    """Seconds, processor seconds and peak memory in MiB of a process that writes nowhere."""
    peak = 0
    while True:
        done, status, usage = os.wait4(process.pid, os.WNOHANG)
        if done:
            process.returncode = os.waitstatus_to_exitcode(status)
            if process.returncode != 0:
                sys.exit(f"{process.args} failed with {process.returncode}")
            return time.perf_counter() - begin, usage.ru_utime + usage.ru_stime, peak / 1024
        try:
            with open(f"/proc/{process.pid}/status", encoding="ascii") as lines:
                peak = next((int(line.split()[1]) for line in lines if line.startswith("VmHWM:")), peak)
        except OSError:
            pass
        time.sleep(0.05)


def start_up(tool, arguments):
    """The least seconds and processor seconds of fifty runs: what else the machine does adds to the rest."""
    runs = []
    for _ in range(50):
        begin = time.perf_counter()
        process = subprocess.Popen([tool, *arguments], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        runs.append((time.perf_counter() - begin, usage.ru_utime + usage.ru_stime))
    return [min(column) for column in zip(*runs)]


def main():
    tool, gibibytes = sys.argv[1], float(sys.argv[2]) if len(sys.argv) > 2 else 1
    missed = 0
    print("start-up, best of 50        ms  processor ms")
    for arguments in STARTS:
        seconds, processor = start_up(tool, arguments)
        missed += processor >= 0.010
        print(f"{' '.join(arguments):24} {seconds * 1e3:5.1f}         {processor * 1e3:5.1f}")
    with tempfile.NamedTemporaryFile() as text:
        piece = LINE * (1_000_000 // len(LINE))
        while text.tell() < gibibytes * (1 << 30):
            text.write(piece)
        text.flush()
        print(f"\n--lines on {text.tell() / (1 << 30):.2f} GiB        s  processor s  peak MiB")
        for arguments in RUNS:
            begin = time.perf_counter()
            process = subprocess.Popen([tool, *arguments, "--lines", "--no-progress", text.name, "-o", "/dev/null"])
            seconds, processor, peak = finish(process, begin)
            missed += peak > 16
            print(f"{' '.join(arguments):24} {seconds:5.1f}        {processor:5.1f}     {peak:5.1f}")
    return 1 if missed else 0


if __name__ == "__main__":
    sys.exit(main())
