# bash completion for odaxgen

# The long and short options of a subcommand; without one, those of odaxgen itself.
_odaxgen_options() {
  local help='-h --help'
  case $1 in
    '') echo "$help --version" ;;
    run) echo "$help -q --quiet --json --keep-partial" ;;
    check) echo "$help --strict --json -q --quiet" ;;
    explain) echo "$help --list" ;;
    inspect) echo "$help --config --commands --json" ;;
    render) echo "$help -o --output --config --page --ink --scale --max-size --coatings --force" ;;
    *) echo "$help" ;;
  esac
}

_odaxgen_reply() { # _odaxgen_reply WORD...: those that begin like the word at the cursor
  COMPREPLY=($(compgen -W "$*" -- "$cur"))
  compopt +o default +o bashdefault 2>/dev/null
}

# Files of the given extensions, and folders. With nothing to offer readline takes over and offers
# every file, because names are free.
_odaxgen_files() { # _odaxgen_files EXTENSION...
  local extension match plain=${cur#[\"\']}
  plain=${plain//\\/}
  compopt -o filenames 2>/dev/null
  local files=()
  for extension in "$@"; do
    while IFS= read -r match; do
      [[ -d $match ]] || files+=("$match")
    done < <(compgen -f -X "!*.$extension" -- "$plain")
  done
  [[ $# -eq 0 || ${#files[@]} -gt 0 ]] || return
  while IFS= read -r match; do files+=("$match"); done < <(compgen -d -- "$plain")
  COMPREPLY+=("${files[@]}")
}

_odaxgen_codes() {
  local codes
  codes=$("${COMP_WORDS[0]}" explain --list 2>/dev/null | awk '{print $1}')
  # Both -36 and 36 name the code.
  [[ $cur == -* ]] || codes=${codes//-/}
  _odaxgen_reply "$codes" "$(_odaxgen_options explain)"
}

_odaxgen() {
  local cur=${COMP_WORDS[COMP_CWORD]} before=$((COMP_CWORD - 1))
  # Of --option=VALUE bash makes three words.
  if [[ $cur == '=' ]]; then
    cur=
  elif [[ ${COMP_WORDS[before]} == '=' ]]; then
    before=$((before - 1))
  fi
  COMPREPLY=()

  local subcommand='' ended='' is_value='' arguments=0 word i
  for ((i = 1; i < COMP_CWORD; ++i)); do
    word=${COMP_WORDS[i]}
    if [[ $is_value ]]; then
      [[ $word == '=' ]] || is_value=
    elif [[ $ended ]]; then
      arguments=$((arguments + 1))
    else
      case $word in
        --) ended=1 ;;
        -o | --output | --config | --page | --ink | --scale | --max-size) is_value=1 ;;
        -*) ;;
        run | check | explain | init | inspect | verify | render)
          if [[ -z $subcommand && $arguments -eq 0 ]]; then
            subcommand=$word
          else
            arguments=$((arguments + 1))
          fi
          ;;
        *) arguments=$((arguments + 1)) ;;
      esac
    fi
  done

  if [[ $is_value ]]; then
    case ${COMP_WORDS[before]} in
      --config) _odaxgen_files cfg ;;
      -o | --output) _odaxgen_files ;;
      --ink) _odaxgen_reply PBK MBK K C M Y c m Gy Pgy R G B CO CO2 composite ;;
      *) _odaxgen_reply ;;
    esac
    return
  fi
  if [[ $subcommand == explain ]]; then
    [[ $arguments -gt 0 ]] || _odaxgen_codes
    return
  fi
  if [[ $cur == -* && -z $ended ]]; then
    _odaxgen_reply "$(_odaxgen_options "$subcommand")"
    return
  fi
  case $subcommand:$arguments in
    :0)
      [[ $ended ]] ||
        COMPREPLY=($(compgen -W 'run check explain init inspect verify render' -- "$cur"))
      _odaxgen_files cfg
      ;;
    run:* | check:* | verify:0) _odaxgen_files cfg ;;
    inspect:0 | render:0 | verify:1) _odaxgen_files odx dat ;;
    init:0) _odaxgen_files ;;
    *) _odaxgen_reply ;;
  esac
}

complete -o bashdefault -o default -F _odaxgen odaxgen
