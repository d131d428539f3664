"""A machine of its own for attacks: users, /tmp, network, and the daemon as its
service file starts it. To be used inside private namespaces only."""
import configparser
import contextlib
import os
import re
import resource
import signal
import socket
import subprocess
import sys
import time

SERVICE_USER, SERVICE_ID, STRANGER = "tspec", 64901, 65534
SOCKET, PIPE = "/tmp/tspec_dman_config", "/tmp/snmp_hostapd_trap"
HERE = os.getcwd()
UNITS = HERE + "/packaging/systemd/"


def run(*words, check=True, timeout=60, **options):
    return subprocess.run(words, check=check, timeout=timeout, stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          errors="backslashreplace", **options)


def prepare(programs):
    """Mounts and users; nothing of it is seen outside."""
    run("mount", "--make-rprivate", "/")
    for path in ("/tmp", "/run"):
        run("mount", "-t", "tmpfs", "-o", "mode=1777", "tmpfs", path)
    os.chmod("/run", 0o755)
    run("ip", "link", "set", "lo", "up")
    for path, line in (("/etc/passwd", f"{SERVICE_USER}:x:{SERVICE_ID}:{SERVICE_ID}::/:/bin/false\n"),
                       ("/etc/group", f"{SERVICE_USER}:x:{SERVICE_ID}:\n")):
        copy = "/run/" + os.path.basename(path)
        with open(path) as old, open(copy, "w") as new:
            new.write(old.read() + line)
        os.chmod(copy, 0o644)
        run("mount", "--bind", copy, path)
    with open("/run/console", "w"):
        pass
    os.chmod("/run/console", 0o666)
    run("mount", "--bind", "/run/console", "/dev/console")
    os.environ["PATH"] = f"{programs}/bin:{HERE}/packaging/common:" + os.environ["PATH"]


def has(program):
    return any(os.access(f"{folder}/{program}", os.X_OK)
               for folder in os.environ["PATH"].split(":"))


def unit_lines(name):
    with contextlib.suppress(FileNotFoundError), open(UNITS + name) as file:
        return [line.strip().split("=", 1) for line in file if re.match(r"[A-Za-z]+=", line)]
    return []


class Service:
    """The daemon, with the user, rights and steps that its unit gives it."""

    def __init__(self):
        self.lines = unit_lines("tspec-daemon.service")
        self.user = self.one("User", "root")
        self.process = None
        self.said = ""

    def one(self, key, default=None):
        return ([value for name, value in self.lines if name == key] or [default])[-1]

    def rights(self, contained):
        if not contained:
            return []
        words = ["setpriv", "--no-new-privs", "--bounding-set", "-all,+net_admin"]
        if self.user != "root":
            words += ["--reuid", self.user, "--regid", self.user, "--clear-groups",
                      "--inh-caps", "-all,+net_admin", "--ambient-caps", "-all,+net_admin"]
        return words

    def step(self, line):
        """A line of the unit: "-" its failure does not matter, "+" with all rights."""
        marks = re.match(r"[-+]*", line).group()
        words = line[len(marks):]
        result = run(*self.rights("+" not in marks), "sh", "-c", words, check=False)
        self.said += result.stdout
        return "-" in marks or result.returncode == 0

    def limits(self):
        os.umask(int(self.one("UMask", "022"), 8))
        most = int(self.one("LimitNOFILE", "1024"))
        resource.setrlimit(resource.RLIMIT_NOFILE, (most, most))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))

    def start_once(self, **options):
        for name, line in self.lines:
            if name == "ExecStartPre" and not self.step(line):
                return False
        self.process = subprocess.Popen([*self.rights(True), "tspec-daemon"],
                                        stdin=subprocess.DEVNULL,
                                        **{"stderr": subprocess.DEVNULL, **options},
                                        preexec_fn=self.limits)
        end = time.monotonic() + 5
        while self.process.poll() is None and time.monotonic() < end:
            if self.has_ports():
                return True
            time.sleep(0.005)
        return False

    def has_ports(self):
        with open("/proc/net/unix") as table:
            mine = {line.split()[6] for line in table if line.rstrip().endswith(SOCKET)}
        return any(f"socket:[{inode}]" in self.descriptors() for inode in mine)

    def start(self, tries=3, **options):
        """Tries again as the service manager does, without its pauses."""
        for _ in range(tries):
            if self.start_once(**options):
                return True
            self.stop()
        return False

    def descriptors(self):
        folder = f"/proc/{self.process.pid}/fd/"
        found = []
        with contextlib.suppress(FileNotFoundError):
            for name in os.listdir(folder):
                with contextlib.suppress(FileNotFoundError):
                    found.append(os.readlink(folder + name))
        return found

    def configure(self, example="tools/tspec-cli/tspec.conf.example"):
        """What follows each start, where /etc/tspec/tspec.conf is there."""
        for unit, key in (("tspec-daemon.service", "ExecStartPost"),
                          ("tspec-config.service", "ExecStart")):
            for name, line in unit_lines(unit):
                if name == key:
                    line = line.replace("/etc/tspec/tspec.conf", example)
                    self.said += run("sh", "-c", line.lstrip("-+"), check=False).stdout

    def stop(self):
        if self.process is not None:
            self.process.kill()
            self.process.wait()

    def lives(self):
        return self.process.poll() is None

    def answers(self):
        return run("tspec-cli", "ping", check=False).stdout == "PONG\n"


@contextlib.contextmanager
def stranger(act, *arguments):
    """A process of another user that has acted and then waits to be ended."""
    ready, tell = os.pipe()
    child = os.fork()
    if child == 0:
        os.setsid()
        os.setgroups([])
        os.setgid(STRANGER)
        os.setuid(STRANGER)
        status = 0
        try:
            kept = act(*arguments)  # noqa: F841  sockets stay open
        except OSError as error:
            print(f"        ({error})", file=sys.stderr)
            status = 1
        os.write(tell, b"%d" % status)
        signal.pause()
    os.close(tell)
    os.read(ready, 1)
    os.close(ready)
    try:
        yield child
    finally:
        with contextlib.suppress(ProcessLookupError):
            os.killpg(child, signal.SIGKILL)
        os.waitpid(child, 0)


def udp(port=None, reuse=False):
    sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    if reuse:
        sock.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    if port is not None:
        sock.bind(("127.0.0.1", port))
    return sock


def name(text, kind=socket.SOCK_DGRAM):
    sock = socket.socket(socket.AF_UNIX, kind)
    sock.bind(("\0" + text).ljust(108, "\0"))
    return sock


def path(text, kind=socket.SOCK_DGRAM):
    sock = socket.socket(socket.AF_UNIX, kind)
    sock.bind(text)
    return sock


def hostapd(command):
    """A message of an all-zero client on the first radio."""
    data = bytearray(148)
    data[0], data[1], data[20] = 3, command, 1
    return bytes(data)


def send(data, port=55263, times=1):
    sock = udp()
    for _ in range(times):
        with contextlib.suppress(PermissionError):
            sock.sendto(data, ("127.0.0.1", port))
    return sock


def remove(where):
    if os.path.isdir(where) and not os.path.islink(where):
        run("rm", "-r", where)
    elif os.path.lexists(where):
        os.unlink(where)
