#!/usr/bin/env bash
# Pictures of the main window, one per model queue of the sandbox, taken by
# the program itself under Xvfb:
#   screenshots.sh PROGRAM SANDBOX_BASE_FILE OUT_DIR
# (the build tree's vkt-sandbox-base file names the sandbox's folder)
set -euo pipefail
program=$1 base=$(cat "$2") out=$3
root=$(cd "$(dirname "$0")/../.." && pwd)
eval "$("$root/scripts/sandbox" env --base "$base")"
mkdir -p "$out"
status=0
for queue in Card VKTS31Socket VKTS1Socket VKTS3CSocket; do
  file="$out/$queue.png"
  rm -f "$file"
  HOME=$(mktemp -d) timeout 90 xvfb-run -a -s "-screen 0 1024x768x24" "$program" --queue "$queue" --screenshot "$file" || status=1
  if [ ! -s "$file" ]; then
    echo "no screenshot for $queue" >&2
    status=1
  fi
done
ls -l "$out"
exit $status
