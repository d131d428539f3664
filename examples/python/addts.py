#!/usr/bin/env python3
"""Asks the TSPEC daemon for a voice call, as hostapd does for a station, and prints the answer."""
import socket
import struct

DAEMON, HOSTAPD = ("127.0.0.1", 55263), ("127.0.0.1", 57773)
ELEMENT = struct.Struct("=BB3sBBB3sx2H11I2H")  # tspec_ie_t
MESSAGE = struct.Struct("=BB6s6s6sB32sB2x6s2x64sB3xIIBB6s")  # tspec_hostapd_msg_t

station = bytes.fromhex("020000000001")
ap = bytes.fromhex("02000000000a")
nobody = bytes(6)
ts_info = bytes([6 << 1 | 3 << 5, 6 << 3, 0])  # TID 6, bidirectional, user priority 6
element = ELEMENT.pack(
    221, 61, b"\x00\x50\xf2", 2, 2, 1, ts_info, 208 | 0x8000, 208,  # fixed size
    0, 0, 0, 0, 0, 83200, 83200, 83200, 0, 0, 6000000,  # rates in bit/s, the last on the air
    0x2000, 0)  # surplus bandwidth allowance 1.0
request = MESSAGE.pack(3, 1, nobody, ap, nobody, 1, b"office", 0, station, element,
                       0, 0, 0, 6, 0, nobody)  # ADDTS request on wlan0, TID 6

with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sock:
    sock.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
    sock.bind(HOSTAPD)
    sock.connect(DAEMON)  # frame-duration queries come from another port
    sock.settimeout(5)
    sock.send(request)
    answer = MESSAGE.unpack(sock.recv(1024))

result = {0: "accepted", 1: "invalid parameters", 3: "refused"}[answer[11]]
medium_time = ELEMENT.unpack(answer[9])[-1]
print(f"ADDTS response: {result}, medium time {medium_time}")
