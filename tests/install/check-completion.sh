#!/usr/bin/env bash
# The bash completion offers what the tavi binary accepts: its settings keys,
# service ids and language codes, every command its help lists; and it
# completes the "--to=ja" forms with and without "=" breaking words.
#   check-completion.sh COMPLETION_FILE TAVI_BINARY
set -uo pipefail
completion="$1"
tavi="$2"
here="$(dirname "$0")"
source "$here/checks.sh"
source "$completion"

sandbox="$(mktemp -d /tmp/tavi-completion-XXXXXX)"
trap 'rm -rf "$sandbox"' EXIT
export XDG_CONFIG_HOME="$sandbox"

sorted() { tr ' ' '\n' | sed '/^$/d' | LC_ALL=C sort; }
keys="$("$tavi" config list | cut -d= -f1 | LC_ALL=C sort)"
keys_and_device_id="$(printf '%s\nstartupReportDeviceId\n' "$keys" | LC_ALL=C sort)"
providers="$("$tavi" providers | cut -f1 | LC_ALL=C sort)"
# The one list of language codes tavi prints: in its refusal of an unknown one.
languages="$("$tavi" translate --to xx text 2>&1 | sed -n 's/.*可用：\(.*\)）.*/\1/p' | sorted)"
check "tavi names its languages" test -n "$languages"

# completions WORD... : what the completion offers for the last word.
completions() {
  COMP_WORDS=("$@")
  COMP_CWORD=$(($# - 1))
  COMPREPLY=()
  _tavi
  printf '%s\n' "${COMPREPLY[@]}" | sed '/^$/d' | LC_ALL=C sort
}

while IFS='|' read -r expected words; do
  read -r -a line <<<"$words"
  [[ "$words" == *" " ]] && line+=("")
  check_same "tavi ${words}⇥" "$(eval "echo \"$expected\"")" "$(completions tavi "${line[@]}")"
done <<'CASES'
$keys_and_device_id|config get 
$keys_and_device_id|config unset 
$keys|config set 
$providers|config set activeProviderID 
$languages|config set targetLanguage 
$(sorted <<<'true false')|config set deepLIsPro 
|config set openAIModel 
|config list 
$providers|translate --provider 
$languages|translate --from 
$languages|translate --to = 
ja|translate --to = j
$(sorted <<<'--to=zh --to=zh-TW')|translate --to=zh
$(sorted <<<'--provider --from --to --json --')|translate --
|translate -- --p
translate|tr
CASES

offered="$(completions tavi "")"
for command in $("$tavi" --help | sed -n 's/^  tavi \([a-z-]*\).*/\1/p' | sort -u); do
  check_contains "tavi ⇥ offers $command" $'\n'"$command"$'\n' $'\n'"$offered"$'\n'
done

finish
