"""What other software gets when a disk, a folder or a port fails: nothing, or all; and the program goes on in silence."""

import contextlib
import functools
import os
import resource
import subprocess
import time
import tty
import unittest

import program_session
from link_session import AVAILABLE
from program_session import CANCEL, CAPTION, OK, STATUS
from test_session import SerialSession

FEW_BYTES = 60  # of the exchange file's some hundred
PREFILL = bytes(4096)
ANSWERS_FOR = 4  # seconds in which the dialog is asked again and again
ANSWER_TIME = 0.2  # seconds
SLOW_ANSWERS = 3


def fill(descriptor):
    """Writes until there is no room; the number of bytes."""
    written = 0
    with contextlib.suppress(OSError):
        while True:
            written += os.write(descriptor, PREFILL)
    return written


class OutputSession(SerialSession):
    def assert_silence(self):
        """One window, the dialog, and it answers."""
        self.assertEqual(self.program.ask("windows"), [CAPTION])
        self.assertEqual(self.program.text(STATUS), AVAILABLE["en"])


class ExchangeFile(OutputSession):
    def session(self, **options):
        """The programs inherit that the signal of the file-size limit is ignored."""
        session = super().session(**options)
        session.prefix.start = functools.partial(session.prefix.start, restore_signals=False)
        return session

    def lay_over_temp(self, *words):
        """Begins, and mounts a file system over the temporary folder until the program has ended."""
        folder = self.begin("JOB").temp
        if subprocess.run(["mount", "-t", "tmpfs", *words, "tmpfs", folder], stderr=subprocess.DEVNULL, check=False).returncode:
            raise unittest.SkipTest("mounting is not allowed here")
        self.addCleanup(subprocess.run, ["umount", "--lazy", folder], check=False)
        return folder

    def leave_with_ok_in_silence(self):
        """What has become of the exchange file."""
        self.assert_silence()
        self.assertEqual(self.program.leave(OK), 0)
        place = self.program.temp / program_session.EXCHANGE_FILE
        return list(place.iterdir()) if place.is_dir() else self.program.file()

    def test_a_directory_in_its_place_stays(self):
        (self.begin("JOB").temp / program_session.EXCHANGE_FILE).mkdir()
        self.assertEqual(self.leave_with_ok_in_silence(), [])

    def test_a_folder_that_cannot_be_written_gets_none(self):
        self.lay_over_temp("-o", "ro")
        self.assertIsNone(self.leave_with_ok_in_silence())

    def test_a_full_disk_gets_none(self):
        with open(self.lay_over_temp("-o", "size=16k") / "filler", "wb") as filler:
            self.assertGreater(fill(filler.fileno()), 0)
        self.assertIsNone(self.leave_with_ok_in_silence())

    def test_a_file_that_can_only_be_begun_is_deleted(self):
        program = self.begin("JOB")
        resource.prlimit(program.program.pid, resource.RLIMIT_FSIZE, (FEW_BYTES, FEW_BYTES))
        self.assertIsNone(self.leave_with_ok_in_silence())


class SerialOutput(OutputSession):
    def begin_with_output(self, port, ports=None):
        return self.begin(settings={"EnableRS232": 1, "RS232Port": port}, ports=ports)

    def wait_refreshes(self):
        """A refresh writes the rows of the list before its output: the second one has put up with the port."""
        self.show_another_co(4711, 4712)

    def begin_with_halted_receiver(self):
        """The two ends of a port that takes no byte any more."""
        receiver, port = os.openpty()
        self.addCleanup(os.close, receiver)
        self.addCleanup(os.close, port)
        tty.setraw(port)
        os.set_blocking(port, False)
        while fill(port):  # the system makes room once more behind our back
            time.sleep(0.3)
        self.begin_with_output(12, {12: os.ttyname(port)})
        return receiver

    def test_a_halted_receiver_holds_nobody_up(self):
        receiver = self.begin_with_halted_receiver()
        self.wait_refreshes()
        waits = []
        while sum(waits) < ANSWERS_FOR:
            asked = time.monotonic()
            self.program.text(STATUS)
            waits.append(time.monotonic() - asked)
        slow = [wait for wait in waits if wait > ANSWER_TIME]
        self.assertLess(len(slow), SLOW_ANSWERS, f"{len(waits)} answers, slow ones: {slow}")  # a busy machine has its moments too
        received = b""
        os.set_blocking(receiver, False)

        def receive():
            nonlocal received
            with contextlib.suppress(BlockingIOError):
                received += os.read(receiver, 1 << 16)
            return received.endswith(b"END\n\r") and received.count(b"NELTO") >= 3
        self.program.wait_until(receive, "whole blocks again")
        blocks = received.rpartition(b"\0")[2].split(b"NELTO\n\r00000101")[-2:]
        self.assertEqual(blocks[0], blocks[1])
        self.assertEqual(self.program.leave(CANCEL), 0)

    def test_closing_waits_for_a_halted_receiver_a_moment_only(self):
        self.begin_with_halted_receiver()
        self.wait_refreshes()
        for button in (OK, CANCEL):
            started = time.monotonic()
            self.assertEqual(self.program.leave(button), 0)
            self.assertLess(time.monotonic() - started, 5)
            if button == OK:
                self.assertIsNotNone(self.program.file())
                self.program.start()
                self.wait_values()
