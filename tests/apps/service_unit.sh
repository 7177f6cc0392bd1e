#!/bin/sh
# The service's unit is one that systemd takes, and leaves the service few rights: service_unit.sh UNIT PROGRAM
set -eu

if ! systemd-analyze security --help 2>/dev/null | grep -q -- --offline; then
    echo "skipped: there is no systemd-analyze here that looks at unit files"
    exit 77
fi
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
unit=$folder/gbe-service.service
sed "s|^ExecStart=[^ ]*|ExecStart=$2|" "$1" >"$unit" # it is not installed yet
if systemd-analyze verify --recursive-errors=no "$unit" 2>&1 | grep gbe-service; then
    echo "systemd does not take the unit"
    exit 1
fi
# The figure is tenths: below 3.0.
systemd-analyze security --offline=true --threshold=29 --no-pager "$unit" || { echo "too much is open"; exit 1; }
