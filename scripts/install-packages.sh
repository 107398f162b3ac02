#!/bin/sh
# Installs those of the named Debian packages that are missing. Quiet when there is nothing to do.
set -eu
list_missing() {
    for package in "$@"; do
        status=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null || true)
        [ "$status" = installed ] || printf ' %s' "$package"
    done
}
[ -n "$(list_missing "$@")" ] || exit 0
# One at a time: the package tools do not wait for one another.
exec 9>"${TMPDIR:-/tmp}/sensorhub-packages.$(id -u).lock"
flock 9
missing=$(list_missing "$@")
[ -n "$missing" ] || exit 0
echo "Installing:$missing"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo=sudo
$sudo apt-get update -qq
# shellcheck disable=SC2086 # a list of packages
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends $missing >/dev/null
