"""The attacks. Each is a function that ends quietly when it held and raises Broke
with what went wrong when it did not."""
import contextlib
import glob
import os
import pty
import random
import re
import shutil
import socket
import subprocess
import sys
import time

from world import (HERE, PIPE, SOCKET, STRANGER, Service, has, hostapd, name, path, prepare,
                   remove, run, send, stranger, udp)

ATTACKS = []
ADDTS, UNAUTHORISED = 1, 7


class Broke(Exception):
    pass


def attack(title):
    def add(function):
        ATTACKS.append((title, function))
        return function
    return add


def expect(holds, otherwise):
    if not holds:
        raise Broke(otherwise)


def await_that(holds, otherwise, seconds=10):
    end = time.monotonic() + seconds
    while not holds():
        expect(time.monotonic() < end, otherwise)
        time.sleep(0.01)


def last_of(text):
    return ": " + text.splitlines()[-1] if text else ""


def started(**options):
    service = Service()
    expect(service.start(**options), "the daemon does not start" + last_of(service.said))
    return service


def health(*words):
    """Exit status and text; a tool that has no such command knows nothing."""
    result = run("tspec-cli", "health", *words, check=False)
    expect("there is no command" not in result.stdout, "nothing looks after the daemon")
    return result.returncode, result.stdout


def watch(service):
    """A look of the service's own, which ends a daemon that can serve nothing more."""
    expect(has("tspec-watch"), "nothing looks after the daemon")
    return run("tspec-watch", "kill", "-KILL", str(service.process.pid), check=False).stdout


def link_to_roots_file():
    with open("/run/secret", "w") as file:
        file.write("untouched")
    os.chmod("/run/secret", 0o600)
    with stranger(os.symlink, "/run/secret", PIPE):
        service = started()
        send(hostapd(UNAUTHORISED))
        expect(service.answers(), "the daemon is gone")
        with open("/run/secret") as file:
            expect(file.read() == "untouched", "a record is in a file of root's")


attack("a link at the trap pipe's path writes into no file of root's")(link_to_roots_file)


def squat(what, *how):
    def try_it():
        with stranger(*how):
            service = started()
            expect(service.answers(), "the daemon does not answer")
            expect(re.search("nobody|65534", service.said), "it does not say whose it was")
    attack(f"{what} does not keep the daemon from starting")(try_it)


def secret_file():
    os.close(os.open(SOCKET, os.O_CREAT | os.O_WRONLY, 0o600))


def full_folder():
    os.makedirs(SOCKET + "/deep/er")


squat("a stranger's file at the socket's path", secret_file)
squat("a stranger's folder at the socket's path", full_folder)
squat("a stranger's living socket at the socket's path", path, SOCKET)
squat("a stranger's stream socket at the socket's path", path, SOCKET, socket.SOCK_STREAM)
squat("a stranger's link at the socket's path", os.symlink, "/etc/passwd", SOCKET)
squat("a stranger on UDP port 55263", udp, 55263)
squat("a stranger on 127.0.0.1:55263 who shares it", udp, 55263, True)
squat("a stranger on UDP port 55301", udp, 55301)
squat("a stranger with the name tspec-cli", name, "tspec-cli")


@attack("a living daemon is not cleared away")
def living_daemon():
    service = started()
    second = Service()
    expect(not second.start(tries=1), "a second daemon started")
    expect(service.lives() and service.answers(), "the first one is gone")


def voice_is_on():
    return re.search(r"^voice +up", run("tspec-cli", "stats", "--radio", "0", check=False).stdout,
                     re.MULTILINE)


@attack("with the name cli-tspec taken the configuration is sent all the same")
def reply_name_taken():
    with stranger(name, "cli-tspec"):
        service = started()
        service.configure()
        expect(voice_is_on(), "admission control is off")
        expect("not confirmed" in service.said, "it is told as confirmed")


@attack("a stranger who answers in the daemon's place is not believed")
def false_pong():
    def answer():
        sock = name("tspec-cli")
        if os.fork() == 0:
            while True:
                _, sender = sock.recvfrom(64)
                sock.sendto(b"PONG", sender)
        return sock
    service = started()
    service.stop()
    with stranger(answer):
        expect(run("tspec-cli", "ping", check=False).returncode != 0, "his PONG counts")


def load_filter(peers="/none"):
    expect(has("tspec-filter"), "no packet filter ships")
    if shutil.which("nft") is None:
        raise NotImplementedError("no nft")
    run("tspec-filter", "load", env={**os.environ, "TSPEC_PEERS": peers})


def counted(service, act):
    """How many descriptors the driver's refusals leave open after `act`: one for each
    request that was heard."""
    before = len(service.descriptors())
    act()
    send(hostapd(ADDTS))
    await_that(lambda: len(service.descriptors()) > before, "the daemon hears nothing")
    service.answers()
    return len(service.descriptors()) - before - 1


@attack("a neighbour on the network is not heard")
def neighbour():
    with subprocess.Popen(["unshare", "--net", "sleep", "60"]) as other:
        try:
            time.sleep(0.1)
            enter = ["nsenter", "--net", "--target", str(other.pid)]
            run("ip", "link", "add", "near", "type", "veth", "peer", "name", "far")
            run("ip", "link", "set", "far", "netns", str(other.pid))
            run("ip", "address", "add", "192.0.2.1/24", "dev", "near")
            run("ip", "link", "set", "near", "up")
            run(*enter, "ip", "address", "add", "192.0.2.2/24", "dev", "far")
            run(*enter, "ip", "link", "set", "far", "up")
            service = started()
            load_filter()
            script = ("import socket; socket.socket(socket.AF_INET, socket.SOCK_DGRAM)"
                      f".sendto(bytes.fromhex('{hostapd(ADDTS).hex()}'), ('192.0.2.1', 55263))")

            def request():
                run(*enter, "python3", "-c", script)
                time.sleep(0.3)  # across the wire, which nobody confirms
            expect(counted(service, request) == 0, "its request is handled")
        finally:
            other.kill()
            run("ip", "link", "delete", "near", check=False)
            run("nft", "delete", "table", "inet", "tspec", check=False)


@attack("another user's datagrams are not heard once the peers' users are named")
def local_sender():
    with open("/run/peers", "w") as file:
        file.write("0\n")
    service = started()
    load_filter("/run/peers")

    def request():
        with stranger(send, hostapd(ADDTS)):
            pass
    try:
        expect(counted(service, request) == 0, "his request is handled")
    finally:
        run("nft", "delete", "table", "inet", "tspec")


def reported(what, *how):
    def try_it():
        started()
        with stranger(*how):
            status, text = health()
            expect(status == 5 and re.search(r"warning.*(nobody|65534)", text), "nobody is told")
    attack(f"{what} is told with his name")(try_it)


reported("a stranger's second socket on 127.0.0.1:55263", udp, 55263, True)
reported("a stranger who takes 55301 later", udp, 55301, True)


@attack("another network namespace reaches neither name nor port")
def own_network():
    started()
    ping = run("unshare", "--net", "tspec-cli", "ping", check=False)
    expect(ping.returncode != 0, "the name is heard there")


@attack("a daemon without descriptors is started again")
def descriptors_out():
    service = started()
    for _ in range(1100):
        send(hostapd(ADDTS))
        time.sleep(0.0002)
    await_that(lambda: service.answers(), "the daemon is gone")
    expect(len(service.descriptors()) >= 1024, "there are descriptors left")
    expect(health()[0] == 1, "it passes for healthy")
    watch(service)
    await_that(lambda: not service.lives(), "nobody starts it again")


@attack("an operator's deletions restart nothing")
def deletions():
    service = started()
    for words in (("delete-client", "--force", "02:00:00:00:00:01"),
                  ("delete-stream", "02:00:00:00:00:01", "6")):
        run("tspec-cli", *words, check=False)
    watch(service)
    expect(service.lives(), "the daemon was ended")


def flood_console():
    daemon = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    daemon.settimeout(0.5)
    daemon.connect("\0" + "tspec-cli".ljust(107, "\0"))
    try:
        for _ in range(3000):
            daemon.send(b"\x06\x01")
    except socket.timeout:
        pass
    return daemon


@attack("a daemon whose console nobody reads is started again")
def unread_console():
    _, terminal = pty.openpty()
    run("mount", "--bind", os.ttyname(terminal), "/dev/console")
    os.chmod("/dev/console", 0o666)
    try:
        service = started()
        with stranger(flood_console):
            pass
        expect(health()[0] == 1, "it passes for healthy")
        watch(service)
        await_that(lambda: not service.lives(), "nobody starts it again")
    finally:
        run("umount", "--lazy", "/dev/console")


@attack("lines that go to the journal stop nothing")
def journal():
    expect(glob.glob("packaging/systemd/examples/console-to-journal.conf"), "no such drop-in ships")
    os.chmod("/dev/console", 0o600)  # as the drop-in leaves it: out of reach
    try:
        with open("/run/journal", "w") as file:
            service = started(stderr=file)
            with stranger(flood_console):
                pass
        expect(service.answers(), "the daemon is stuck")
        expect(os.path.getsize("/run/journal") > 0, "the lines are lost")
    finally:
        os.chmod("/dev/console", 0o666)


def shows(title, *words, quiet=False):
    def try_it():
        make_evil_files()
        try:
            result = run(*words, check=False, timeout=5)
        except subprocess.TimeoutExpired:
            raise Broke("it does not end") from None
        expect(result.returncode != 0, "it is taken")
        expect("\x1b" not in result.stdout, "escapes pass")
        expect(result.stdout.count("\n") <= 30, f"{result.stdout.count(chr(10))} lines")
    attack(title)(try_it)


def make_evil_files():
    with open("/tmp/binary", "wb") as file:
        file.write(random.Random(1).randbytes(60000))
    with open("/tmp/escape", "w") as file:
        file.write("[wlan0]\n\x1b]0;owned\x07 = 1\nvoice_limit = \x1b[2J\n[\x1b[31m]\n")
    with open("/tmp/scenario.yaml", "w") as file:
        file.write('name: "\\e]0;owned\\a"\nsteps:\n  - expect.hostapd: {cmd: "\\e[2J"}\n')
    if not os.path.exists("/tmp/pipe"):
        os.mkfifo("/tmp/pipe")


shows("config check prints no escapes", "tspec-cli", "config", "check", "/tmp/escape")
shows("config check is short about a binary file", "tspec-cli", "config", "check", "/tmp/binary")
shows("config check ends on /dev/zero", "tspec-cli", "config", "check", "/dev/zero")
shows("config check ends on a pipe", "tspec-cli", "config", "check", "/tmp/pipe")
shows("tspec-sim prints no escapes of a scenario", "tspec-sim", "run", "/tmp/scenario.yaml")


@attack("a stranger with the name of tspec-sim serve is told no scenario")
def false_server():
    def serve():
        sock = name("tspec-sim-serve", socket.SOCK_STREAM)
        sock.listen()
        if os.fork() == 0:
            with contextlib.suppress(OSError):
                client, _ = sock.accept()
                while client.recv(65536):
                    pass
                client.sendall(b"\0" + b"0")
            os._exit(0)
        return sock
    with stranger(serve):
        result = run("tspec-sim", "apply", HERE + "/scenarios/demo.yaml", check=False)
        expect(result.returncode != 0, "his result counts")


@attack("what procd runs leaves no zombie, and a user of its own")
def zombie():
    folder = "packaging/openwrt/files"
    with open(folder + "/tspec-run") as file:
        text = file.read()
    text = text.replace("/usr/bin/", "").replace("/usr/sbin/", "")
    text = text.replace("/etc/tspec/tspec.conf", HERE + "/tools/tspec-cli/tspec.conf.example")
    with open("/run/tspec-run", "w") as file:
        file.write(text)
    with subprocess.Popen(["sh", "/run/tspec-run"], stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL) as daemon:
        try:
            await_that(voice_is_on, "admission control is off")

            def child_of_the_daemon():
                return run("ps", "-o", "stat=", "--ppid", str(daemon.pid), check=False).stdout
            time.sleep(1)  # a zombie does not go away
            expect("Z" not in child_of_the_daemon(), "a zombie stays")
            expect(os.stat(f"/proc/{daemon.pid}").st_uid != 0, "it runs as root")
        finally:
            daemon.kill()
            run("nft", "delete", "table", "inet", "tspec", check=False)


@attack("noise on every socket ends nothing")
def noise():
    service = started()
    dice = random.Random(7)

    def make_noise():
        sock = udp()
        commands = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        commands.setblocking(False)
        commands.connect("\0" + "tspec-cli".ljust(107, "\0"))
        for _ in range(20000):
            data = bytearray(dice.randbytes(dice.randrange(0, 200)))
            if data and dice.random() < 0.8:
                data[0] = dice.randrange(0, 8)
            # The prescribed end, which is in the list of dangers, is not tried.
            if data[:1] == b"\x01":
                data[0] = 2
            sock.sendto(data, ("127.0.0.1", 55263))
            try:
                commands.send(data[:64])
            except BlockingIOError:
                pass
    with stranger(make_noise):
        pass
    await_that(service.answers, "the daemon is silent")
    expect(service.lives(), "the daemon has ended")


@attack("another user can neither signal nor read the daemon")
def signals():
    service = started()
    result = run("setpriv", "--reuid", str(STRANGER), "--clear-groups", "sh", "-c",
                 f"kill -TERM {service.process.pid} || cat /proc/{service.process.pid}/mem",
                 check=False)
    expect(result.returncode != 0 and service.lives(), "he can")


@attack("the programs are hardened")
def hardened():
    for program in ("tspec-daemon", "tspec-cli"):
        file = f"{sys.argv[1]}/bin/{program}"
        said = run("readelf", "--wide", "--headers", "--dynamic", "--dyn-syms", file).stdout
        for mark in ("DYN", "GNU_RELRO", "BIND_NOW", "__stack_chk_fail"):
            expect(mark in said, f"{program}: no {mark}")
        expect(re.search(r"GNU_STACK.* RW ", said), f"{program}: executable stack")
        if os.uname().machine == "x86_64":
            code = run("objdump", "--disassemble", file).stdout
            expect("endbr64" in code, f"{program}: no branch protection")


def play(title, function):
    for where in (SOCKET, PIPE):
        remove(where)
    services = []
    original = Service.__init__

    def noted(self):
        original(self)
        services.append(self)
    Service.__init__ = noted
    try:
        function()
    except Broke as broke:
        print(f"broke   {title}: {broke}")
        return False
    except NotImplementedError as missing:
        print(f"not checked: {title} ({missing})")
        return None
    finally:
        Service.__init__ = original
        for service in services:
            service.stop()
    print(f"held    {title}")
    return True


def main():
    prepare(sys.argv[1])
    results = []
    for title, function in ATTACKS:
        results.append(play(title, function))
        sys.stdout.flush()
    held, broke = results.count(True), results.count(False)
    print(f"{held} held, {broke} broke")
    return 0 if broke == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
