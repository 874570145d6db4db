#!/bin/bash
# Drives the bash completion of archive the way readline does (COMP_WORDS, COMP_CWORD,
# COMP_LINE, COMP_POINT) inside a real bash with bash-completion loaded, and compares
# the sorted candidates with the table below. The ids of odd-ids.json hold shell characters:
# each must come back quoted for the command line, never expanded or split.
# Usage: completion_test.sh path/to/archive.bash path/to/example-device path/to/odd-ids.json
set -u
script=$1 device=$2 odd=$3
source /usr/share/bash-completion/bash_completion || exit 1
source "$script" || exit 1
cd "$device" || exit 1

failures=0
# expect CONFIG LINE WANT: the candidates for the last word of LINE (cursor at its end),
# with DEVICE_CONFIG=CONFIG.
expect() {
    local config=$1 line=$2 want=$3
    read -r -a COMP_WORDS <<<"$line"
    [[ $line == *' ' ]] && COMP_WORDS+=('')
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1)) COMP_LINE=$line COMP_POINT=${#line}
    COMPREPLY=()
    DEVICE_CONFIG=$config _archive
    local got
    got=$(printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort | paste -sd' ')
    if [[ $got != "$want" ]]; then
        echo "FAIL: DEVICE_CONFIG=$config '$line': got '$got', want '$want'"
        failures=$((failures + 1))
    fi
}

cfg=$PWD/config.json
expect "$cfg" 'archive ' 'h help list ls st stat'
expect "$cfg" 'archive -' '--help -h'
expect "$cfg" 'archive help s' 'st stat'
expect "$cfg" 'archive help list ' ''
expect "$cfg" 'archive LS --so' '--sort'
expect "$cfg" 'archive ls --st' '--st-range --start'
expect "$cfg" 'archive ls -S ' 'rtime time'
expect "$cfg" 'archive ls --exts ' 'all avi mov mp4 ts'
expect "$cfg" 'archive ls -e mp4,m' 'mp4,mov mp4,mp4'
expect "$cfg" 'archive ls --limit ' ''
expect "$cfg" 'archive ls --path ' 'archive'
expect "$cfg" 'archive ls --afu ' '1 2 3 all'
expect "$cfg" 'archive st --' '--afu --help --json --name --path --trash'
expect "$cfg" 'archive stat -p archive --name ' ''
expect "$cfg" 'archive stat 1 ' '1 2 3 all'
expect /nonexistent/config.json 'archive ls ' 'all'
expect "$cfg" 'archive frobnicate ' ''
expect "$odd" 'archive ls ' '\$HOME \* a\ b all back\\slash it\'\''s say\ \"hi\"'
expect "$odd" 'archive ls \$' '\$HOME'
expect "$odd" "archive st 'i" "it'\\''s'"
expect "$odd" 'archive ls "s' 'say \"hi\""'

((failures == 0)) && echo "bash completion: all cases pass"
exit $((failures != 0))
