#!/usr/bin/env bash
# Installs the programs of other people that the tests of this folder run against modem-sim, from Debian. Where that
# cannot be done it says so in one line and ends well: the tests then skip.
set -u

packages=(gammu gammu-smsd libdbd-sqlite3 gnokii-cli gsm-utils kannel ofono smstools)
# the tables of gammu-smsd come as documentation, which small images leave out
schema=/usr/share/doc/gammu-smsd/examples

[ "$(dpkg-query -W -f '${db:Status-Abbrev}\n' "${packages[@]}" 2>/dev/null | grep -c '^ii')" -eq ${#packages[@]} ] &&
  [ -d "$schema" ] && exit 0

skip() {
  echo "peers: not installed ($1); the tests of tests/peers skip. By hand: apt-get install ${packages[*]}"
  exit 0
}
as_root=()
if [ "$(id -u)" -ne 0 ]; then
  sudo -n true 2>/dev/null || skip "neither root nor sudo without a password"
  as_root=(sudo -n)
fi

# their services stay off: the tests start the programs themselves, in folders of their own
was_there=$(dpkg-query -W -f '${db:Status-Abbrev}${Package}\n' "${packages[@]}" 2>/dev/null | grep '^ii')
install=("${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends --reinstall
         -o "Dpkg::Options::=--path-include=$schema/*" "${packages[@]}")
echo "peers: installing ${packages[*]}"
{ "${as_root[@]}" apt-get update && "${install[@]}"; } >/dev/null 2>&1 || skip "apt-get could not"
if [ -d /run/systemd/system ]; then
  for unit in gammu-smsd:gammu-smsd kannel:kannel ofono:ofono ofono:dundee smstools:smstools; do
    grep -qx "ii *${unit%:*}" <<<"$was_there" || "${as_root[@]}" systemctl disable --now "${unit#*:}" >/dev/null 2>&1
  done
fi
