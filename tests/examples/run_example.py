"""Runs a command; it must succeed and print exactly the text given first, where \\n stands for a line end."""
import subprocess
import sys

expected, command = sys.argv[1].replace("\\n", "\n"), sys.argv[2:]
result = subprocess.run(command, capture_output=True, text=True, encoding="utf-8")
if (result.returncode, result.stdout, result.stderr) != (0, expected, ""):
    sys.exit(f"exit code {result.returncode}\nexpected: {expected!r}\nprinted:  {result.stdout!r}\n{result.stderr}")
