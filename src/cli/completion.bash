# bash completion for wzss; installed as share/bash-completion/completions/wzss.
# Keep the option lists in step with `wzss <command> --help`.
_wzss() {
  local cur prev words cword
  _init_completion || return
  local command="" i
  for ((i = 1; i < cword; i++)); do
    case ${words[i]} in
      --plugin | --linked-files) ((i++)) ;;
      -*) ;;
      *) command=${words[i]}; break ;;
    esac
  done
  case $prev in
    --plugin) _filedir so; return ;;
    --linked-files) COMPREPLY=($(compgen -W 'folder none' -- "$cur")); _filedir -d; return ;;
    -o | --output | --extract) _filedir; return ;;
    --to) COMPREPLY=($(compgen -W 'csv json html xlsx' -- "$cur")); return ;;
    --values) COMPREPLY=($(compgen -W 'display typed' -- "$cur")); return ;;
    --sheet | -j | --jobs | --title-rows | --title-columns | --encoding) return ;;
  esac
  local global='--plugin -q --quiet --no-progress --strict --linked-files' options
  case $command in
    "") options='--help --version info dump objects csv json html xlsx convert' ;;
    info) options='--help --json -v --verbose' ;;
    dump) options='--help --sheet' ;;
    objects) options='--help --sheet --extract' ;;
    csv) options='--help --sheet --all -o --output --keep-hidden --bom --values' ;;
    json) options='--help --sheet -o --output --lines --pretty' ;;
    xlsx) options='--help -o --output' ;;
    html) options='--help --sheet -o --output --title-rows --title-columns' ;;
    convert) options='--help --to -o --output -j --jobs --keep-hidden --lines --pretty --title-rows --title-columns --bom --values' ;;
  esac
  options="$options $global"
  [[ -n $command ]] && options="$options --encoding"
  if [[ -z $command || $cur == -* ]]; then
    COMPREPLY=($(compgen -W "$options" -- "$cur"))
  else
    _filedir
  fi
}
complete -F _wzss wzss
