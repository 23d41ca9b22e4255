#!/usr/bin/env bash
# Installs what is missing, builds tavi and runs it with the given arguments.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
"$root/scripts/setup.sh"
"$root/scripts/build.sh" release >/dev/null
exec "$root/build/release/tavi" "$@"
