#!/usr/bin/env bash
# Installs the Debian packages that building and testing need, when any of them is missing; also those that are named.
#
# usage: setup.sh [PACKAGE...]
set -eu

packages=(
  g++ cmake ninja-build python3 binutils    # build and checks
  libboost-dev libcli11-dev libsqlite3-dev libudev-dev
  libgtest-dev libgmock-dev libbenchmark-dev nlohmann-json3-dev umockdev libumockdev-dev pkgconf
  "$@"
)

missing=()
installed=$(dpkg-query -W -f '${db:Status-Abbrev}${Package}\n' "${packages[@]}" 2>/dev/null || true)
for package in "${packages[@]}"; do
  grep -qx "ii *$package" <<<"$installed" || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || {
    echo "setup: these packages are missing and neither root nor sudo is at hand: ${missing[*]}" >&2
    echo "setup: ask an administrator to run: apt-get install ${missing[*]}" >&2
    exit 1
  }
  as_root=(sudo)
fi
echo "setup: installing ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { "${as_root[@]}" apt-get update && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
  apt-get install -y --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
  tail -n 20 "$log" >&2
  echo "setup: apt-get could not install ${missing[*]}; its last words are above" >&2
  exit 1
fi
