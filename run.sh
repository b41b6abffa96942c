#!/usr/bin/env bash
# Sets everything up, builds, and runs the demo; with arguments, smsctl with these arguments.
set -eu

root=$(cd "$(dirname "$0")" && pwd)
"$root/tools/setup.sh" >&2
[ -x "$root/build/release/bin/smsctl" ] || echo "Building; the first time takes a few minutes." >&2
"$root/tools/build.sh" release smsctl sms-host modem-sim SmsAppPlugin ModemPlugin >&2
[ $# -gt 0 ] || set -- demo
exec "$root/build/release/bin/smsctl" "$@"
