"""The file that users download: the launcher with the bundle packed behind it, and the same bundle as .tar.xz.

The bytes depend on nothing but the contents: names are sorted, times are that of the commit, owners are 0.
"""

import concurrent.futures
import hashlib
import io
import lzma
import os
import plistlib
import struct
import tarfile

# As the launcher's Payload.h says.
PART = 7 << 20
FILTERS = [{"id": lzma.FILTER_X86}, {"id": lzma.FILTER_LZMA2, "preset": 9 | lzma.PRESET_EXTREME, "dict_size": 16 << 20}]


def _entry(info, time):
    info.uid = info.gid = 0
    info.uname = info.gname = ""
    info.mtime = time
    if info.issym():
        info.mode = 0o777
    else:
        info.mode = 0o755 if info.isdir() or info.mode & 0o100 else 0o644
    return info


def tar_of(bundle, time):
    """A folder as a tar archive in memory."""
    buffer = io.BytesIO()
    with tarfile.open(fileobj=buffer, mode="w", format=tarfile.USTAR_FORMAT) as archive:
        paths = [bundle, *sorted(bundle.rglob("*"))]
        for path in paths:
            info = _entry(archive.gettarinfo(path, arcname=str(path.relative_to(bundle.parent))), time)
            if info.islnk():
                raise AssertionError(f"{path} has two names")
            with open(path, "rb") if info.isreg() else io.BytesIO() as contents:
                archive.addfile(info, contents if info.isreg() else None)
    return buffer.getvalue()


def launcher_file(launcher, archive, identifier, filters=FILTERS):
    """The launcher's bytes with the archive behind it."""
    def compress(part):
        return lzma.compress(part, lzma.FORMAT_XZ, lzma.CHECK_CRC64, filters=filters)

    parts = [archive[place:place + PART] for place in range(0, len(archive), PART)]
    with concurrent.futures.ThreadPoolExecutor() as pool:
        packed = list(pool.map(compress, parts))
    table = b"".join(struct.pack("<QQ", len(small), len(part)) for small, part in zip(packed, parts))
    digest = hashlib.sha256(archive).hexdigest()[:16].encode()
    trailer = struct.pack("<8sQQ16s80s", b"QNbundle", len(launcher), len(parts), digest, identifier.encode())
    return launcher + b"".join(packed) + table + trailer


def pack(bundle, launcher, folder, name, time):
    """Writes NAME and NAME.tar.xz to the folder."""
    identifier = plistlib.loads((bundle / "Contents/Info.plist").read_bytes())["CFBundleIdentifier"]
    archive = tar_of(bundle, time)
    program = folder / name
    program.write_bytes(launcher_file(launcher.read_bytes(), archive, identifier))
    os.chmod(program, 0o755)
    (folder / f"{name}.tar.xz").write_bytes(lzma.compress(archive, lzma.FORMAT_XZ, lzma.CHECK_CRC64, filters=[
        FILTERS[0], {**FILTERS[1], "dict_size": 64 << 20}]))
