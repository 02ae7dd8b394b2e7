"""A process whose system calls somebody else decides about: let through, refused once, or the moment of its death.

The kernel asks over a seccomp notification (seccomp_unotify(2)); docs/decisions/torture.md tells why that way. Children
and threads are asked about, too, and so are calls that no library makes for them.
"""

import collections
import ctypes
import errno
import fcntl
import mmap
import os
import re
import select
import socket
import struct
import subprocess
import threading
import time

NOTIFICATION = struct.Struct("=QIIiIQ6Q")  # struct seccomp_notif
RESPONSE = struct.Struct("=QqiI")  # struct seccomp_notif_resp
RECEIVE, SEND = 0xC0502100, 0xC0182101
LET_THROUGH = 1  # SECCOMP_USER_NOTIF_FLAG_CONTINUE
SET_FILTER, NEW_LISTENER = 1, 8
ASK, ALLOW = 0x7FC00000, 0x7FFF0000
NO_NEW_PRIVILEGES = 38

# What a call may fail with; each of a name's errors is tried at each of its occurrences. Not close(2), which lets go of
# its descriptor whatever it returns: one that was refused would leave it open.
ERRORS = {
    "access": ["EACCES"], "faccessat2": ["EACCES"], "openat": ["EMFILE", "EACCES"], "open": ["EMFILE"],
    "read": ["EIO", "EINTR"], "pread64": ["EIO"], "readv": ["EIO"],
    "write": ["ENOSPC", "EINTR"], "pwrite64": ["ENOSPC"], "writev": ["EPIPE"], "lseek": ["EINVAL"],
    "newfstatat": ["ENOMEM"], "fstat": ["ENOMEM"], "stat": ["ENOMEM"], "lstat": ["ENOMEM"], "statx": ["ENOMEM"],
    "fstatfs": ["EIO"], "statfs": ["EIO"], "readlink": ["EACCES"], "readlinkat": ["EACCES"], "getdents64": ["EIO"],
    "getcwd": ["ENOENT"], "mkdir": ["ENOSPC"], "mkdirat": ["ENOSPC"], "rmdir": ["EBUSY"], "unlink": ["EACCES"],
    "unlinkat": ["EACCES"], "rename": ["ENOSPC"], "renameat": ["ENOSPC"], "renameat2": ["ENOSPC"],
    "symlink": ["ENOSPC"], "symlinkat": ["ENOSPC"], "chmod": ["EPERM"], "fchmod": ["EPERM"], "fchmodat": ["EPERM"],
    "ftruncate": ["ENOSPC"], "fallocate": ["ENOSPC"], "fsync": ["EIO"], "utimensat": ["EACCES"], "flock": ["ENOLCK"],
    "fcntl": ["EMFILE"], "dup": ["EMFILE"], "dup2": ["EMFILE"], "dup3": ["EMFILE"], "pipe2": ["EMFILE"],
    "ioctl": ["EIO"], "mount": ["EPERM"], "umount2": ["EBUSY"], "fsopen": ["EPERM"], "chdir": ["EACCES"],
    "mmap": ["ENOMEM"], "mprotect": ["ENOMEM"], "mremap": ["ENOMEM"], "memfd_create": ["EMFILE"],
    "shmget": ["ENOSPC"], "shmat": ["ENOMEM"], "madvise": ["EAGAIN"],
    "socket": ["EMFILE"], "socketpair": ["EMFILE"], "connect": ["ECONNREFUSED", "ENETUNREACH"], "bind": ["EADDRINUSE"],
    "listen": ["EADDRINUSE"], "accept4": ["EMFILE"], "getsockname": ["ENOBUFS"], "getpeername": ["ENOTCONN"],
    "getsockopt": ["ENOBUFS"], "setsockopt": ["ENOBUFS"], "sendto": ["ECONNRESET"], "sendmsg": ["ECONNRESET"],
    "recvfrom": ["ECONNRESET"], "recvmsg": ["ECONNRESET"], "shutdown": ["ENOTCONN"],
    "poll": ["EINTR"], "ppoll": ["EINTR"], "select": ["EINTR"], "pselect6": ["EINTR"],
    "epoll_create1": ["EMFILE"], "epoll_ctl": ["ENOMEM"], "epoll_wait": ["EINTR"], "eventfd2": ["EMFILE"],
    "inotify_init1": ["EMFILE"], "timerfd_create": ["EMFILE"], "pidfd_open": ["EMFILE"],
    "clone": ["EAGAIN"], "clone3": ["EAGAIN"], "vfork": ["EAGAIN"], "fork": ["EAGAIN"], "execve": ["EACCES", "ENOMEM"],
    "wait4": ["EINTR", "ECHILD"], "waitid": ["EINTR", "ECHILD"], "prctl": ["EINVAL"], "prlimit64": ["EPERM"],
    "setsid": ["EPERM"], "sysinfo": ["ENOSYS"], "uname": ["ENOSYS"],
    "sched_getaffinity": ["EPERM"], "rt_sigaction": ["EINVAL"], "rt_sigtimedwait": ["EINTR"],
    "clock_nanosleep": ["EINTR"],
}

Call = collections.namedtuple("Call", "program name number")  # the number-th call of that name by that program, from 1

Asked = collections.namedtuple("Asked", "tid address arguments")  # who, from where in its code, with what

libc = ctypes.CDLL(None, use_errno=True)


def system_calls():
    """Number of each system call of this machine's kernel."""
    text = subprocess.run(["cc", "-E", "-dM", "-include", "sys/syscall.h", "-x", "c", "/dev/null"], check=True,
                          capture_output=True, text=True).stdout
    return {name: int(number) for name, number in re.findall(r"#define __NR_(\w+) (\d+)", text)}


NUMBERS = system_calls()
NAMES = {NUMBERS[name]: name for name in ERRORS if name in NUMBERS}


class Instruction(ctypes.Structure):
    _fields_ = [("code", ctypes.c_uint16), ("yes", ctypes.c_uint8), ("no", ctypes.c_uint8), ("k", ctypes.c_uint32)]


class Filter(ctypes.Structure):
    _fields_ = [("length", ctypes.c_uint16), ("instructions", ctypes.POINTER(Instruction))]


def bpf_program():
    load, equals, give = 0x20, 0x15, 0x06
    wanted = sorted(NAMES)
    lines = [Instruction(load, 0, 0, 0)]
    lines += [Instruction(equals, len(wanted) - index, 0, number) for index, number in enumerate(wanted)]
    lines += [Instruction(give, 0, 0, ALLOW), Instruction(give, 0, 0, ASK)]
    array = (Instruction * len(lines))(*lines)
    return Filter(len(lines), array), array


class Supervised:
    """A program under supervision. decide(call, asked) is asked for each call that may fail: None lets it through, a
    number is the error that it gets. The calls are counted for each program, children's and threads' together."""

    def __init__(self, words, environment, console, decide):
        self.decide = decide
        self.counts = collections.Counter()
        self.programs = {}
        self.status = None
        shared = mmap.mmap(-1, 4)
        program, self._keep = bpf_program()
        self.pid = os.fork()
        if self.pid == 0:
            self._become(words, environment, console, program, shared)
        self.handle = os.pidfd_open(self.pid)
        while not (descriptor := struct.unpack("=i", shared[:4])[0]):
            time.sleep(0.001)
        self.listener = libc.syscall(NUMBERS["pidfd_getfd"], self.handle, descriptor, 0)
        assert self.listener >= 0, os.strerror(ctypes.get_errno())
        threading.Thread(target=self._serve, daemon=True).start()

    @staticmethod
    def _become(words, environment, console, program, shared):
        try:
            os.setsid()
            for descriptor in (0, 1):
                os.dup2(os.open("/dev/null", os.O_RDWR) if descriptor == 0 else console.fileno(), descriptor)
            os.dup2(console.fileno(), 2)
            if os.geteuid() != 0:
                libc.prctl(NO_NEW_PRIVILEGES, 1, 0, 0, 0)
            listener = libc.syscall(NUMBERS["seccomp"], SET_FILTER, NEW_LISTENER, ctypes.byref(program))
            shared[:4] = struct.pack("=i", listener)
            os.execve(words[0], words, environment)
        finally:
            os._exit(126)

    def _program_of(self, tid):
        if tid not in self.programs:
            try:
                self.programs[tid] = os.path.basename(os.readlink(f"/proc/{tid}/exe"))
            except OSError:
                return "gone"
        return self.programs[tid]

    def _serve(self):
        poll = select.poll()
        poll.register(self.listener, select.POLLIN)
        while True:
            events = poll.poll()
            if events and events[0][1] & (select.POLLHUP | select.POLLERR | select.POLLNVAL):
                os.close(self.listener)
                return
            notification = bytearray(NOTIFICATION.size)
            try:
                fcntl.ioctl(self.listener, RECEIVE, notification)
            except OSError:  # whoever called has been killed meanwhile
                continue
            identifier, tid, _, number, _, address, *arguments = NOTIFICATION.unpack(notification)
            name = NAMES[number]
            call = self._counted(tid, name)
            error = self.decide(call, Asked(tid, address, arguments))
            if name == "execve":
                self.programs.pop(tid, None)
            answer = RESPONSE.pack(identifier, 0, -error if error else 0, 0 if error else LET_THROUGH)
            try:
                fcntl.ioctl(self.listener, SEND, bytearray(answer))
            except OSError:
                continue

    def _counted(self, tid, name):
        program = self._program_of(tid)
        self.counts[program, name] += 1
        return Call(program, name, self.counts[program, name])

    def poll(self):
        """The status, as a number or minus a signal, once the program has ended."""
        if self.status is None:
            pid, status = os.waitpid(self.pid, os.WNOHANG)
            if pid:
                self.status = os.waitstatus_to_exitcode(status)
        return self.status

    def send(self, number):
        if self.poll() is None:
            os.kill(self.pid, number)


def let_through(call, asked):
    return None


def process_of(tid):
    with open(f"/proc/{tid}/status", encoding="ascii", errors="replace") as status:
        return int(re.search(r"^Tgid:\s+(\d+)", status.read(), re.M)[1])


def break_connection(tid, descriptor):
    """What a call says of a connection must be true for the other threads that use it."""
    process = os.pidfd_open(process_of(tid))
    copy = libc.syscall(NUMBERS["pidfd_getfd"], process, descriptor, 0)
    os.close(process)
    try:
        with socket.socket(fileno=copy) as connection:
            connection.shutdown(socket.SHUT_RDWR)
    except OSError:  # no socket, or not connected
        pass


def caller_of(tid, address):
    """The file whose code made the call: the C library mostly, the loader before main."""
    with open(f"/proc/{tid}/maps", encoding="utf-8", errors="replace") as maps:
        for line in maps:
            begin, end = (int(number, 16) for number in line.split()[0].split("-"))
            if begin <= address < end:
                return os.path.basename(line.split(maxsplit=5)[-1].strip())
    return ""


def failing_once(target, error, hits):
    """Refuses one call of the run. `hits` gets the file whose code made it."""
    code = getattr(errno, error)

    def decide(call, asked):
        if call != target:
            return None
        hits.append(caller_of(asked.tid, asked.address))
        if error in ("EPIPE", "ECONNRESET"):
            break_connection(asked.tid, asked.arguments[0])
        return code
    return decide


def acting_at(place, program, act, hits):
    """Does act(process) before the program's place-th call of any name."""
    seen = [0]

    def decide(call, asked):
        if call.program == program:
            seen[0] += 1
            if seen[0] == place:
                hits.append(call)
                act(process_of(asked.tid))
        return None
    return decide


def break_display(process):
    """As at the end of an X server: every connection of the process to one is shut down."""
    handle = os.pidfd_open(process)
    for name in os.listdir(f"/proc/{process}/fd"):
        if not os.readlink(f"/proc/{process}/fd/{name}").startswith("socket:"):
            continue
        copy = libc.syscall(NUMBERS["pidfd_getfd"], handle, int(name), 0)
        with socket.socket(fileno=copy) as connection:
            try:
                if connection.family == socket.AF_UNIX and ".X11-unix" in str(connection.getpeername()):
                    connection.shutdown(socket.SHUT_RDWR)
            except OSError:  # not connected
                continue
    os.close(handle)
