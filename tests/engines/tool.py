"""The command-line tool, with whose bytes the engines' are compared."""
import os
import subprocess

CODE_POINTS = 0x110000


def rqtext(*arguments, text, session="UTF-8"):
    """What the tool makes of `text`, both as bytes."""
    command = [os.environ["RQTEXT"], *arguments, "--session", session, "--library", os.environ["RQ_LIBRARY"]]
    return subprocess.run(command, input=text, stdout=subprocess.PIPE, check=True).stdout


def references(first, last):
    """A reference for each number of a range, behind each a vertical bar."""
    return "".join(f"&#x{number:06X};|" for number in range(first, last)).encode()
