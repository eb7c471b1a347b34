"""How the library's constructor chooses kernels: by RQUNI_KERNELS, but not for a process with raised privileges, and
the same with the C library musl, whose loader passes constructors no arguments."""
import os
import shutil
import subprocess
import tempfile
import unittest

PROGRAMS = {"kernels": ("KERNELS_IN_USE", "KERNELS_IN_USE_OBJECTS"), "load": ("LOAD_LIBRARY", "LOAD_LIBRARY_OBJECTS")}
MUSL = shutil.which("musl-gcc")


def output(*command, kernels=None):
    environment = {name: value for name, value in os.environ.items() if name != "RQUNI_KERNELS"}
    if kernels is not None:
        environment["RQUNI_KERNELS"] = kernels
    return subprocess.run(command, env=environment, check=True, capture_output=True, text=True).stdout.strip()


def other_group():
    """A group that this process may give a file to, and that is not its own. None if there is none."""
    groups = [0, 65534] if os.geteuid() == 0 else os.getgroups()
    return next((group for group in groups if group not in (os.getgid(), os.getegid())), None)


class Loading(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = directory.name

    def program(self, name, musl):
        executable, objects = PROGRAMS[name]
        if not musl:
            return os.environ[executable]
        if not MUSL:
            self.skipTest("musl-gcc is missing (Debian: musl-tools)")
        path = os.path.join(self.directory, name)
        subprocess.run([MUSL, "-o", path, *os.environ[objects].split(":")], check=True)
        return path

    def check_environment(self, musl):
        program = self.program("kernels", musl)
        widest = output(program)
        self.assertIn(widest, ("sse2", "avx2", "avx512"))
        self.assertEqual(output(program, kernels="sse2"), "sse2")
        self.assertEqual(output(program, kernels="none"), widest)
        self.assertEqual(output(program, kernels=""), widest)
        if widest == "avx512":
            self.assertEqual(output(program, kernels="avx2"), "avx2")

    def test_environment(self):
        self.check_environment(musl=False)

    def test_environment_with_musl(self):
        self.check_environment(musl=True)

    def test_library(self):
        self.assertEqual(output(self.program("load", musl=False), os.environ["RQ_LIBRARY"]), "loaded")

    def test_library_with_musl(self):
        program = self.program("load", musl=True)
        for kernels in (None, "sse2", "avx2"):
            self.assertEqual(output(program, os.environ["RQ_LIBRARY"], kernels=kernels), "loaded")

    def check_raised_privileges(self, musl):
        program = self.program("kernels", musl)
        widest = output(program)
        if widest == "sse2":
            self.skipTest("this processor offers no other kernels than those of SSE2")
        group = other_group()
        if group is None:
            self.skipTest("this user is in one group only, so no program can raise its privileges")
        copy = os.path.join(self.directory, "raised")
        shutil.copy(program, copy)
        os.chown(copy, -1, group)
        os.chmod(copy, 0o2755)
        if os.statvfs(copy).f_flag & os.ST_NOSUID:
            self.skipTest(f"programs in {self.directory} cannot raise privileges (mounted nosuid)")
        self.assertEqual(output(copy, kernels="sse2"), widest)
        os.chmod(copy, 0o755)
        self.assertEqual(output(copy, kernels="sse2"), "sse2")

    def test_raised_privileges(self):
        self.check_raised_privileges(musl=False)

    def test_raised_privileges_with_musl(self):
        self.check_raised_privileges(musl=True)


if __name__ == "__main__":
    unittest.main()
