"""PostgreSQL servers of our own: made by initdb in a temporary folder, reached by a private socket, ended with us.

The extension comes from a stage folder, so nothing is installed. The server will not run as root: then it and all its
tools run as the user postgres.
"""
import os
import pathlib
import pwd
import shutil
import subprocess
import tempfile

BIN = pathlib.Path(os.environ.get("RQ_POSTGRESQL_BIN", "/usr/lib/postgresql/15/bin"))
SHARE = "usr/share/postgresql/15/extension"
LIB = "usr/lib/postgresql/15/lib"
ROOT = pathlib.Path(__file__).parents[3]
USER = "postgres"


def as_server(command):
    """A command as the user that the server runs as."""
    command = [str(part) for part in command]
    return ["setpriv", f"--reuid={USER}", f"--regid={USER}", "--clear-groups", *command] if os.getuid() == 0 else command


def run(command, **options):
    """The standard output of a command that must succeed."""
    result = subprocess.run(as_server(command), stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False, **options)
    if result.returncode != 0:
        raise AssertionError(f"{command} failed with {result.returncode}:\n{result.stdout}")
    return result.stdout


# Waits for the end of its input, which comes when the test closes it or ends, in whatever way. Then it ends what runs.
GUARD = """
cat > /dev/null
for data in {stage}/*/data; do
  [ ! -e "$data/postmaster.pid" ] || {stop} -D "$data"
done
rm -rf {stage}
"""


class Stage:
    """A folder that all servers of a test share: the extension, the library and the servers' own folders. It goes, and
    the servers end, when it is removed or when the test dies."""

    def __init__(self, module, library, extra=(), source=ROOT / "engines" / "postgresql"):
        self.path = pathlib.Path(tempfile.mkdtemp(prefix="rquni-pg-"))
        stop = " ".join(as_server([BIN / "pg_ctl", "stop", "-m", "immediate", "-s"]))
        self.guard = subprocess.Popen(["sh", "-c", GUARD.format(stage=self.path, stop=stop)], stdin=subprocess.PIPE,
                                      start_new_session=True, cwd="/")
        for folder in (SHARE, LIB):
            (self.path / folder).mkdir(parents=True)
        for file in [source / "rquni.control", *source.glob("rquni--*.sql"), *map(pathlib.Path, extra)]:
            shutil.copy(file, self.path / SHARE)
        shutil.copy(module, self.path / LIB / "rquni.so")
        shutil.copy(library, self.path / LIB / "librquni.so.1")
        if os.getuid() == 0:
            owner = pwd.getpwnam(USER)
            os.chown(self.path, owner.pw_uid, owner.pw_gid)

    def remove(self):
        self.guard.stdin.close()
        self.guard.wait()


class Server:
    """A running server. Use it as a context: it ends with the block, whatever happens."""

    def __init__(self, stage, name="server", settings=None, start_memory=None):
        self.stage, self.folder, self.port = stage, stage.path / name, 5432
        self.data = self.folder / "data"
        self.settings = {"extension_destdir": str(stage.path), "dynamic_library_path": f"{stage.path / LIB}:$libdir",
                         "listen_addresses": "", "unix_socket_directories": str(self.folder), "fsync": "off",
                         "max_connections": "20", "shared_buffers": "64MB", "autovacuum": "off", "jit": "off",
                         "log_min_messages": "fatal", **(settings or {})}
        self.start_memory = start_memory  # KiB of address space for each process, or None

    def __enter__(self):
        run(["mkdir", self.folder])
        run([BIN / "initdb", "-N", "-A", "trust", "-E", "UTF8", "--locale=C", "-U", USER, "-D", self.data])
        with open(self.folder / "settings", "w", encoding="utf-8") as file:
            file.writelines(f"{name} = '{value}'\n" for name, value in self.settings.items())
        run(["sh", "-c", f"cat {self.folder}/settings >> {self.data}/postgresql.conf"])
        limit = f"ulimit -v {self.start_memory}; " if self.start_memory else ""
        run(["sh", "-c", f"{limit}exec {BIN}/pg_ctl start -w -s -D {self.data} -l {self.folder}/log"],
            env={**os.environ, "LD_LIBRARY_PATH": str(self.stage.path / LIB)}, cwd="/")
        return self

    def __exit__(self, *_):
        run([BIN / "pg_ctl", "stop", "-m", "immediate", "-s", "-D", self.data], cwd="/")

    def address(self, database="postgres"):
        return ["-h", str(self.folder), "-p", str(self.port), "-U", USER, "-d", database]

    def psql(self, script, database="postgres", stop=True, verbosity="sqlstate", client="UTF8", timeout=120):
        """What a script prints, rows one a line and columns separated by vertical bars. Errors fail the test; without
        `stop` they are part of what is printed, such as "ERROR:  22023"."""
        environment = {**os.environ, "PGCLIENTENCODING": client}
        options = ["-v", f"ON_ERROR_STOP={int(stop)}", "-v", f"VERBOSITY={'default' if stop else verbosity}"]
        result = subprocess.run([BIN / "psql", "-X", "-q", "-A", "-t", *options, *self.address(database)], check=False,
                                input=script.encode(), stdout=subprocess.PIPE, timeout=timeout, env=environment,
                                stderr=subprocess.STDOUT)
        if stop and result.returncode != 0:
            raise AssertionError(result.stdout.decode(errors="replace"))
        return result.stdout.decode(errors="backslashreplace")

    def database(self, name, encoding="UTF8"):
        """Makes a database with the extension and returns its name."""
        self.psql(f"CREATE DATABASE {name} TEMPLATE template0 ENCODING '{encoding}' LC_COLLATE 'C' LC_CTYPE 'C';")
        self.psql("CREATE EXTENSION rquni;", name, client=encoding)
        return name
