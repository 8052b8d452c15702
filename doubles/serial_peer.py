"""A generation-2004 analyser on a pty: the far end of a serial link, scripted by a table of answers.

It shares nothing with the program or the simulator: framing, checksum and answers are written here once more, so that
the program is held against a second reading of the protocol.
"""

import os
import select
import struct
import threading
import tty

PROGRAM_ACK = bytes([0x12, 0x80, 0x0F])
ANALYSER_ACK = bytes([0x21, 0x80, 0x0F])
NO_VALUE = b"\xFF\xFF\xFF\xFF"


def block_checksum(data):
    """CRC-16/MCRF4XX bit by bit: data bits enter from the low end, the register is reversed at the end."""
    register = 0xFFFF
    for byte in data:
        for bit in range(8):
            feedback = (register >> 15) ^ (byte >> bit & 1)
            register = (register << 1 & 0xFFFF) ^ (0x1021 if feedback else 0)
    return int(f"{register:016b}"[::-1], 2)


def build_block(start, index, count, payload):
    frame = struct.pack(">BHHB", start, index, count, len(payload)) + payload
    return frame + struct.pack("<H", block_checksum(frame))


def answer(code, payload=b""):
    return bytes([0, code, 0, 0]) + payload


def value_record(ident, unit, resolution, value):
    number = NO_VALUE if value is None else struct.pack("<f", value)
    return struct.pack("<I", ident) + number + bytes([unit, 0, resolution, 0, 0, 0, 0])


class Analyser780:
    """A 780 of firmware 2004. `overrides` maps command codes to whole answers and goes before the rest."""

    def __init__(self):
        self.ident = b"T780\x01"
        self.config = 4
        self.zero_flag = 1
        self.fuel = 0
        self.channels = [  # view ident, unit code, resolution code, value, label
            (0x0101, 1, 0, 182.5, "FT"),
            (0x0102, 1, 255, 20.94, "AT"),
            (0x0901, 130, 255, 20.9, "O\u2082"),
            (0x0902, 131, 0, 12.4, "CO"),
            (0x0B01, 130, 255, None, "\u03B7A"),
            (0x0301, 24, 253, -0.125, "\u0394p"),
            (0x0777, 33, 252, 1.5, "\u03BB"),
        ]
        self.additional = [(0xFF01, 1, 70.0), (0xFF02, 99, 2.0), (0xFF03, 99, 3.0), (0xFF04, 99, 1.0), (0xFF06, 99, 0.0)]
        self.texts = {100 + i: channel[4] for i, channel in enumerate(self.channels)} | {900: "Heating oil EL"}
        self.overrides = {}

    def reply(self, request):
        code, rest = request[0], request[1:]
        if code in self.overrides:
            return self.overrides[code]
        payload = {
            0x42: lambda: self.ident,
            0x85: lambda: b"\x02",
            0xA7: lambda: b"".join(struct.pack("<IIHH", channel[0], 0, 100 + i, 0) for i, channel in enumerate(self.channels)),
            0x53: lambda: bytes([self.config, 0, 0, 0]),
            0x9C if self.config == 4 else 0xC2: lambda: b"".join(value_record(*channel[:4]) for channel in self.channels),
            0xAA: lambda: bytes([self.zero_flag]),
            0xA2: lambda: b"".join(value_record(ident, unit, 0, value) for ident, unit, value in self.additional),
            0xB1: lambda: self.texts[struct.unpack("<H", rest)[0]].encode("utf-16-le"),
            0xB8: lambda: bytes([self.fuel]),
            0xB0: lambda: struct.pack("<H", 900),
            0xB9: lambda: struct.pack("<ff", 15.4, 3.0),
            0x40: lambda: b"\x00\x00\x23\x01",
            0x7F: lambda: struct.pack("<I", 1234567),
            0xB7: lambda: "P-77".encode("utf-16-le"),
            0x90: lambda: bytes(8),
            0x20: lambda: b"",
        }.get(code)
        return answer(code, payload()) if payload else None


class SerialPeer:
    """Serves an analyser on a pty from a thread of its own. `path` is the tty for the program, `far_end` an opening of it."""

    def __init__(self, analyser):
        self.analyser = analyser
        self.requests = []
        self.broken_frames = []
        self.distort = lambda frame: frame  # what becomes of each frame that the analyser sends
        self.block = 100  # payload bytes of a reply block, 1 to 120
        self._plug()

    def _plug(self):
        self.master, self.far_end = os.openpty()
        tty.setraw(self.far_end)
        self.path = os.ttyname(self.far_end)
        self._pulled = threading.Event()
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()

    def pull(self):
        """Takes the cable away: the program's end hangs up."""
        self._pulled.set()
        self._thread.join()
        os.close(self.far_end)
        os.close(self.master)

    def plug_again(self, prefix, port):
        self._plug()
        prefix.connect_port(port, self.path)

    def close(self):
        if not self._pulled.is_set():
            self.pull()

    def _serve(self):
        received = b""
        blocks = []
        while not self._pulled.is_set():
            if not select.select([self.master], [], [], 0.05)[0]:
                received = b""  # what is left after a silence is no frame
                continue
            received += os.read(self.master, 4096)
            if received == PROGRAM_ACK:
                received = b""
                self._send_next(blocks)
            elif len(received) >= 6 and received[1] != 0x80 and len(received) >= received[5] + 8:
                blocks = self._take(received)
                received = b""
                self._send_next(blocks)

    def _take(self, frame):
        """The reply blocks to a request frame; every request of the program fits into one block."""
        payload = frame[6:-2]
        if frame != build_block(0x12, 0, 1, payload):
            self.broken_frames.append(frame)
            return []
        self.requests.append(payload)
        reply = self.analyser.reply(payload)
        if reply is None:
            return []
        pieces = [reply[at:at + self.block] for at in range(0, len(reply), self.block)]
        return [build_block(0x21, index, len(pieces), piece) for index, piece in enumerate(pieces)]

    def _send_next(self, blocks):
        if blocks:
            os.write(self.master, self.distort(blocks.pop(0)))


class SerialListener:
    """The far end of the serial output: collects what the program sends."""

    def __init__(self):
        self.master, self._slave = os.openpty()
        tty.setraw(self._slave)
        os.set_blocking(self.master, False)
        self.path = os.ttyname(self._slave)
        self.received = b""

    def read(self):
        while select.select([self.master], [], [], 0)[0]:
            self.received += os.read(self.master, 4096)
        return self.received

    def close(self):
        os.close(self._slave)
        os.close(self.master)
