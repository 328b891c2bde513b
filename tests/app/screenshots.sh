#!/usr/bin/env bash
# Pictures of the main window, one per model queue of the sandbox, taken by
# the program itself under Xvfb, run as the ordinary user nobody when this
# runs as root (the installed PPDs are then out of its reach, as they are for
# a desktop user):
#   screenshots.sh PROGRAM SANDBOX_BASE_FILE OUT_DIR
# (the build tree's vkt-sandbox-base file names the sandbox's folder)
set -euo pipefail
program=$1 base=$(cat "$2") out=$3
root=$(cd "$(dirname "$0")/../.." && pwd)
eval "$("$root/scripts/sandbox" env --base "$base")"
mkdir -p "$out"
run=(env "HOME=$(mktemp -d)")
shots=$out
if [ "$(id -u)" = 0 ]; then
  run=("$root/tests/integration/as-user" nobody)
  shots=$(mktemp -d)
  chmod 0777 "$shots"
fi
status=0
for queue in Card VKTS31Socket VKTS1Socket VKTS3CSocket; do
  file="$out/$queue.png" && rm -f "$file"
  timeout 90 xvfb-run -a -s "-screen 0 1024x768x24 -ac" "${run[@]}" "$program" --queue "$queue" \
    --screenshot "$shots/$queue.png" || status=1
  [ "$shots" = "$out" ] || mv -f "$shots/$queue.png" "$file" 2>/dev/null || true
  [ -s "$file" ] || { echo "no screenshot for $queue" >&2; status=1; }
done
[ "$shots" = "$out" ] || rm -rf "$shots"
ls -l "$out"
exit $status
