#!/bin/bash
# Installs the named Debian packages that are missing. Prints nothing if there are none.
set -euo pipefail
list_missing() {
    local package
    for package in "$@"; do
        [ "$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
            printf ' %s' "$package"
    done
}
missing=$(list_missing "$@")
[ -n "$missing" ] || exit 0

fail() {
    printf '%s\n' "$@" >&2
    exit 1
}
command -v apt-get >/dev/null || fail "There is no apt-get. Please install these packages:$missing"
by_hand="apt-get update && apt-get install -y --no-install-recommends$missing"
sudo=()
[ "$(id -u)" -eq 0 ] || sudo=(sudo)
[ ${#sudo[@]} -eq 0 ] || command -v sudo >/dev/null ||
    fail "Packages are missing, and there is no sudo. As root, run:" "$by_hand"

log=$(mktemp)
trap 'rm -f "$log"' EXIT
# Waits while another package tool has the lock. Prints nothing else.
apt() {
    local announced=""
    until "${sudo[@]}" env LC_ALL=C DEBIAN_FRONTEND=noninteractive apt-get -qq "$@" >"$log" 2>&1; do
        grep -q 'Could not get lock' "$log" && [ "$SECONDS" -lt 600 ] || return 1
        [ -n "$announced" ] || echo "Waiting for another package tool to finish..."
        announced=yes
        sleep 2
    done
}
echo "Installing:$missing" | fold -s -w 79
offline=""
apt update || fail "$(tail -n 1 "$log")" "As root, run:" "$by_hand"
! grep -q 'Failed to fetch' "$log" || offline=yes
# shellcheck disable=SC2086 # a list of packages
apt install -y --no-install-recommends $missing || {
    [ -z "$offline" ] || fail "The package archive cannot be reached. Is there a network?"
    fail "$(grep -v '^W:' "$log" | tail -n 3)" "As root, run:" "$by_hand"
}
# An interrupted apt-get may return 0.
missing=$(list_missing "$@")
[ -z "$missing" ] || fail "These packages were not installed:$missing"
