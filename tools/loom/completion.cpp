// SPDX-License-Identifier: MIT
#include "completion.h"

namespace loom {

std::string_view bashCompletion() {
  return R"script(# bash completion for loom; made by 'loom completion bash'
_loom_complete() {
  local rest="${COMP_LINE:0:COMP_POINT}" word i
  local -a words=() lines=()
  # Bash also takes words apart at : and =. What no blank separates is one word.
  for ((i = 0; i <= COMP_CWORD; ++i)); do
    if [[ $i -eq 0 || $rest == [[:space:]]* ]]; then
      rest="${rest#"${rest%%[![:space:]]*}"}"
      words+=('')
    fi
    word="${COMP_WORDS[i]}"
    ((i == COMP_CWORD)) && word="$rest"
    words[${#words[@]}-1]+="$word"
    rest="${rest#"$word"}"
  done
  local current="${words[${#words[@]}-1]}" before=''
  mapfile -t lines < <(loom complete -- "${words[@]:1}" 2>/dev/null)
  COMPREPLY=("${lines[@]%%$'\t'*}")
  case "$current" in
    [\'\"]*) ;;
    *)
      # Bash replaces only what is behind the last : or =.
      [[ $current == *[:=]* ]] && before="${current%"${current##*[:=]}"}"
      COMPREPLY=("${COMPREPLY[@]#"$before"}")
      for i in "${!COMPREPLY[@]}"; do
        [[ ${COMPREPLY[i]} == '~/'* ]] || printf -v 'COMPREPLY[i]' %q "${COMPREPLY[i]}"
      done
      ;;
  esac
  [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *[/:=] ]] && compopt -o nospace 2>/dev/null
  return 0
}
complete -F _loom_complete loom
)script";
}

std::string_view zshCompletion() {
  return R"script(#compdef loom
# zsh completion for loom; made by 'loom completion zsh'
_loom() {
  local -a lines whole wholeHelp open openHelp
  local line word
  lines=("${(@f)$(loom complete -- "${(@Q)words[2,CURRENT-1]}" "$PREFIX" 2>/dev/null)}")
  for line in "${lines[@]}"; do
    word="${line%%$'\t'*}"
    [[ -n $word ]] || continue
    if [[ $word == *[/:=] ]]; then
      open+=("$word")
      openHelp+=("${line/$'\t'/  -- }")
    else
      whole+=("$word")
      wholeHelp+=("${line/$'\t'/  -- }")
    fi
  done
  compadd -l -S '' -d openHelp -a open
  compadd -l -d wholeHelp -a whole
}
# Loaded by the first completion, which is then answered as well; or sourced.
if [[ ${funcstack[1]} == _loom ]]; then _loom "$@"; else compdef _loom loom; fi
)script";
}

std::string_view fishCompletion() {
  return R"script(# fish completion for loom; made by 'loom completion fish'
function __loom_complete
    set -l words (commandline -opc)
    set -e words[1]
    loom complete -- $words (commandline -ct) 2>/dev/null
end
complete -c loom -f -a '(__loom_complete)'
)script";
}

}  // namespace loom
