# Prints what zsh offers for a line, one match per line: complete.zsh FOLDER LINE, the folder being
# that of _odaxgen. A second zsh completes on a terminal of its own, because completion works
# nowhere else. Keeps a file of its own in HOME.
zmodload zsh/zpty
zpty shell zsh -f -i

send() { zpty -w shell "$1" }

send "PS1= PROMPT= RPROMPT= LISTMAX=10000; stty -echo"
send "fpath=(${(q)1} \$fpath); autoload -Uz compinit && compinit -u -C -d ~/zcompdump"
# The line editor shows what it is sent, so the marks are written differently there.
# Says the matches as they are added. Calls with -O, -A or -D fill arrays and add nothing.
send 'compadd() {
  if [[ ${@[1,(i)(-|--)]} != *-(O|A|D)\ * ]]; then
    local -a found
    builtin compadd -O found "$@"
    printf "<ma""tch>%s\n" $found
  fi
  builtin compadd "$@"
}'
send 'complete-and-exit() { zle list-choices; print -r -- "<e""nd>"; exit }'
send 'zle -N complete-and-exit; bindkey "^X" complete-and-exit'
send 'print -r -- "<re""ady>"'

local line
while zpty -r shell line; do [[ $line == *'<ready>'* ]] && break; done
zpty -w -n shell "$2"$'\C-x'
while zpty -r shell line; do
  [[ $line == *'<end>'* ]] && break
  line=${${line%$'\n'}%$'\r'}
  [[ $line == *'<match>'* ]] && print -r -- "${line##*<match>}"
done
exit 0
