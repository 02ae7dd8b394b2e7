#!/bin/sh
# Detaches the volume whose path is the first argument. The application starts this in the background when the installer
# reports that it is done, and looks neither at the output nor at the status.

volume=$1
if [ -z "$volume" ]; then
    echo "usage: $0 VOLUME" >&2
    exit 64
fi

for tool in "${QN_SYSTEM_ROOT:+$QN_SYSTEM_ROOT/usr/bin/hdiutil}" /usr/bin/hdiutil; do
    if [ -n "$tool" ] && [ -x "$tool" ]; then
        exec "$tool" detach "$volume"
    fi
done
exec hdiutil detach "$volume"
