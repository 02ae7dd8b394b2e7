#!/usr/bin/env python3
"""Starts an installer in a bare system, as an ordinary user: what ./release --check has ./run's script start.

    bare_root.py ROOT LAUNCHER MOUNTED EXECUTABLE

The bundle around EXECUTABLE is packed behind LAUNCHER, and that file is started. ROOT stays as it is. The run's folder and
the X display's sockets are those of this machine, and so are the network and the list of processes. MOUNTED is `plain`,
or `noexec`: then the home and the folder for temporary files are mounted so. This process becomes the installer.
"""

import lzma
import os
import pathlib
import plistlib
import sys

import pack

USER = "1000"
KEPT = ("DISPLAY", "HOME", "LANG", "NO_PROXY", "PATH", "QN_SYSTEM_ROOT", "TMPDIR", "XDG_RUNTIME_DIR", "no_proxy")
# Runs as root in a mount namespace of its own, which goes away with the installer.
ENTER = """
set -eu
root=$1 run=$2 mounted=$3 user=$4
shift 4
work=$run/root
mkdir -p "$work"
mount -t tmpfs work "$work"
mkdir "$work/changes" "$work/spare" "$work/all"
mount -t overlay overlay -o "lowerdir=$root,upperdir=$work/changes,workdir=$work/spare" "$work/all"
cd "$work/all"
echo "user:x:$user:$user::$HOME:/bin/sh" >>etc/passwd
mount -t proc proc proc
mount -t sysfs sysfs sys
mount -t tmpfs -o mode=755 devices dev
mknod -m 666 dev/null c 1 3
mknod -m 666 dev/zero c 1 5
mknod -m 666 dev/urandom c 1 9
mount -t tmpfs -o mode=1777 tmp tmp
mkdir -p tmp/.X11-unix "./$run"
mount --bind /tmp/.X11-unix tmp/.X11-unix
mount --bind "$run" "./$run"
if [ "$mounted" = noexec ]; then
    for folder in home tmp; do
        mount --bind "$run/$folder" "./$run/$folder"
        mount -o remount,bind,noexec "./$run/$folder"
    done
fi
exec /usr/sbin/chroot --userspec="$user:$user" . "$@"
"""


def main():
    root, launcher, mounted, executable = sys.argv[1:]
    bundle = pathlib.Path(executable).parents[2]
    run = bundle.parent
    contents = bundle.rename(run / "QNInstaller.app") / "Contents"
    identifier = plistlib.loads((contents / "Info.plist").read_bytes())["CFBundleIdentifier"]
    file = run / "QNInstaller"
    quickly = [{"id": lzma.FILTER_LZMA2, "preset": 0}]
    file.write_bytes(pack.launcher_file(pathlib.Path(launcher).read_bytes(), pack.tar_of(contents.parent, 0), identifier,
                                        quickly))
    file.chmod(0o755)
    for path in (run, run / "home", run / "tmp", run / "runtime", run / "system"):
        os.chown(path, int(USER), int(USER))
    variables = {name: os.environ[name] for name in KEPT if name in os.environ}
    variables["PATH"] = f"{run}/bin:/usr/bin:/bin"
    os.execvpe("unshare", ["unshare", "--mount", "--propagation", "private", "bash", "-c", ENTER, "bare-root", root, str(run),
                           mounted, USER, str(file)], variables)


if __name__ == "__main__":
    main()
