#!/usr/bin/env python3
"""The daemon's peers, each as a user of its own, and strangers who would be one.

    peers.py ROLE [ARGUMENT...]

Each role is run as the user that plays it; its exit status says what became of it.
"""
import os
import socket
import struct
import sys
import time

DAEMON = ("127.0.0.1", 55263)
WAIT = 3


def udp(port):
    sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    sock.settimeout(WAIT)
    sock.bind(("127.0.0.1", port))
    return sock


def message(command, **fields):
    """A message of hostapd's of an all-zero client on the first radio."""
    data = bytearray(148)
    data[0], data[1], data[20] = 3, command, 1
    for offset, value in fields.items():
        data[int(offset[1:])] = value
    return bytes(data)


def dman():
    """Sets a limit and reads it back from the report of the first radio."""
    config = bytearray(64)
    config[0], config[1] = 1, 1
    struct.pack_into("=I", config, 4, 1)  # enabled
    struct.pack_into("=I", config, 16, 1)  # voice is mandatory
    struct.pack_into("=I", config, 32, 50)  # per cent
    replies = udp(55265)
    daemon = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    daemon.connect("/tmp/tspec_dman_config")
    daemon.send(bytes(config))
    daemon.send(b"\x02tspec-radio-wlan0\0")
    return b"ts-vo-med-time-unalloc=15625" in replies.recv(2000)


def mapd():
    """Takes the access point over, is asked about a client's traffic, and gives it back."""
    questions = udp(57774)
    questions.sendto(b"\x06\x01\x01", DAEMON)
    questions.sendto(message(7), DAEMON)
    asked = any(len(questions.recv(2000)) == 120 for _ in range(5))
    questions.sendto(b"\x06\x01\x00", DAEMON)
    return asked


def hostapd():
    """Reports unauthorised traffic; a record of it comes through the trap pipe."""
    udp(57773).sendto(message(7), DAEMON)
    return True


def agent(seconds="3"):
    """The SNMP agent: reads one record from the pipe."""
    pipe = os.open("/tmp/snmp_hostapd_trap", os.O_RDONLY | os.O_NONBLOCK)
    end = time.monotonic() + float(seconds)
    while time.monotonic() < end:
        try:
            if os.read(pipe, 100).startswith(b"9,2,Unauthorized"):
                return True
        except BlockingIOError:
            pass
        time.sleep(0.02)
    return False


def send(port, text):
    """One datagram, whatever becomes of it."""
    try:
        socket.socket(socket.AF_INET, socket.SOCK_DGRAM).sendto(bytes.fromhex(text),
                                                                ("127.0.0.1", int(port)))
    except PermissionError:
        return False
    return True


def bind(where, seconds):
    """Holds a port, a name (@NAME) or a path for a while."""
    if where.isdigit():
        sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        sock.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        sock.bind(("127.0.0.1", int(where)))
    else:
        sock = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        name = where if where[0] != "@" else ("\0" + where[1:]).ljust(108, "\0")
        sock.bind(name)
    time.sleep(float(seconds))
    return True


def squat(where, processes):
    """Takes a place again as soon as it is free, for ever. Where there is more than one
    process, each that is ended is replaced."""
    if processes == "1":
        take(where)
    children = 0
    while True:
        while children < int(processes):
            if os.fork() == 0:
                take(where)
            children += 1
        os.wait()
        children -= 1


def take(where):
    """Holds a port until ended; a path as long as nobody removes it, then again."""
    while True:
        port = where.isdigit()
        sock = socket.socket(socket.AF_INET if port else socket.AF_UNIX, socket.SOCK_DGRAM)
        try:
            sock.bind(("0.0.0.0", int(where)) if port else where)
        except OSError:
            continue
        while port or os.path.exists(where):
            time.sleep(60 if port else 0)


def gap(path):
    """Milliseconds between the removal of a leftover at a path and a socket there."""
    os.close(os.open(path, os.O_CREAT | os.O_WRONLY))
    while os.path.exists(path):
        pass
    begin = time.monotonic()
    while not os.path.exists(path):
        pass
    print(round((time.monotonic() - begin) * 1000), flush=True)
    return True


def console():
    """So many questions that a console nobody reads is full."""
    daemon = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    daemon.settimeout(1)
    daemon.connect("\0" + "tspec-cli".ljust(107, "\0"))
    try:
        for _ in range(2000):
            daemon.send(b"\x06\x01")
    except socket.timeout:
        return False
    return True


if __name__ == "__main__":
    sys.exit(0 if globals()[sys.argv[1]](*sys.argv[2:]) else 1)
