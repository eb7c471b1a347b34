"""Runs the commands that packagers and users run."""
import os
import subprocess


def run(*command, **environment):
    """The standard output of a command that must succeed."""
    result = subprocess.run([str(part) for part in command], env={**os.environ, **environment}, text=True,
                            capture_output=True)
    if result.returncode != 0:
        raise AssertionError(f"{command} failed with {result.returncode}:\n{result.stdout}{result.stderr}")
    return result.stdout
