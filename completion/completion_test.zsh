# Drives the zsh completion of archive in an interactive zsh on a pseudo-terminal (zpty):
# types each line and a TAB, then compares the candidates that reached compadd (sorted) and
# the line the completion left with the table below. The ids of odd-ids.json hold shell
# characters: each must be offered as itself and inserted quoted, never expanded or split.
# Usage: zsh completion_test.zsh path/to/_archive path/to/example-device path/to/odd-ids.json
zmodload zsh/zpty || exit 1
script=$1 device=$2 odd=$3
log=$(mktemp) || exit 1
trap 'zpty -d z 2>/dev/null; rm -f $log' EXIT

# The shell under test logs every match compadd accepts (calls that filter an array or
# store their matches add none themselves), and on ^X the line, which it then clears.
# Where no pseudo-terminal can be opened (a chroot without /dev/pts) there is nothing to
# drive: the test skips (status 77), saying why.
if ! zpty z zsh -f -i 2>$log; then
  print -r -- "zsh_completion: skipped: no pseudo-terminal: $(<$log)"
  exit 77
fi
zpty -w z "PS1= PROMPT_EOL_MARK=; fpath=(${(q)script:h} \$fpath); autoload -Uz compinit
compinit -u -D; cd ${(q)device} || exit 1
compadd() { local -a m; (( \${@[(I)-[DOA]]} )) || builtin compadd -O m \"\$@\"
  print -rl -- \$m >>$log; builtin compadd \"\$@\"; }
report() { print -r -- \"=\$BUFFER\" >>$log; BUFFER=; }; zle -N report; bindkey '^X' report
print ready"
zpty -r z _ '*ready*' || exit 1

failures=0
# expect CONFIG LINE WANT [LEFT]: the candidates for the last word of LINE with
# DEVICE_CONFIG=CONFIG, and the line after the TAB when LEFT is given.
expect() {
  local config=$1 line=$2 want=$3 i got left
  : >$log
  zpty -w z "DEVICE_CONFIG=${(q)config}"
  zpty -w -n z "$line"$'\t\C-x'
  for i in {1..100}; do grep -q '^=' $log && break; sleep 0.1; done
  while zpty -rt z _ 2>/dev/null; do :; done
  got=${(j: :)${(ou)${(f)"$(grep -v '^=' $log)"}}} left=$(sed -n 's/^=//p' $log)
  if [[ $got != $want || ( $# -gt 3 && $left != $4 ) ]]; then
    print -r -- "FAIL: DEVICE_CONFIG=$config '$line': got '$got', left '$left'," \
      "want '$want'${4+, left '$4'}"
    (( failures++ ))
  fi
}

cfg=${device:A}/config.json
expect $cfg 'archive ' 'h help list ls st stat'
expect $cfg 'archive -' '--help -h'
expect $cfg 'archive help s' 'st stat'
expect $cfg 'archive LS --so' '--sort' 'archive LS --sort '
expect $cfg 'archive ls -S ' 'rtime time'
expect $cfg 'archive ls --afu ' '1 2 3 all'
expect $cfg 'archive stat 1 ' '1 2 3 all'
expect /nonexistent/config.json 'archive ls ' 'all' 'archive ls all '
expect $cfg 'archive frobnicate ' ''
expect $odd 'archive ls ' '$HOME * a b all back\slash it'\''s say "hi"'
expect $odd 'archive ls \$' '$HOME' 'archive ls \$HOME '
expect $odd 'archive st s' 'say "hi"' 'archive st say\ \"hi\" '
expect $odd "archive ls 'i" "it's" "archive ls 'it'\\''s' "
expect $odd 'archive ls "b' 'back\slash' 'archive ls "back\\slash" '
expect $odd 'archive ls \*' '*' 'archive ls \* '

(( failures == 0 )) && print "zsh completion: all cases pass"
exit $(( failures != 0 ))
