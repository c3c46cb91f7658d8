# Completion of "tidewell" for bash.

_tidewell() {
  local commands="status doctor browsers enable disable allow preview grants notifications notify-always overwrite keep site-settings history keep-history quit-of defaults"
  local browsers
  browsers=$(tidewell browsers --words 2>/dev/null)
  local domains="7QX2LM9PDA.com.emberlinestudio.Tidewell 7QX2LM9PDA.com.emberlinestudio.Tidewell.TidewellWorker"
  local current=${COMP_WORDS[COMP_CWORD]} words="--help"
  COMPREPLY=()
  if ((COMP_CWORD == 1)); then
    mapfile -t COMPREPLY < <(compgen -W "$commands --help --version" -- "$current")
    return
  fi
  case ${COMP_WORDS[1]} in
    status | doctor) words+=" --json" ;;
    browsers) words+=" --json --words" ;;
    enable | allow) words+=" --yes $browsers" ;;
    disable) words+=" $browsers" ;;
    preview)
      words+=" --verbose --json"
      [[ " ${COMP_WORDS[*]:2:COMP_CWORD-2} " == *" "[a-z]* ]] || words+=" $browsers"
      ;;
    quit-of) words+=" --force --no-wait --verbose --json $browsers" ;;
    history) words+=" --last --verbose --json --clear $browsers" ;;
    notifications | notify-always | overwrite | keep-history) ((COMP_CWORD == 2)) && words+=" on off" ;;
    keep)
      if [[ ${COMP_WORDS[COMP_CWORD - 1]} == --import ]]; then
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
      fi
      words+=" --list --json --remove --import"
      [[ " ${COMP_WORDS[*]:2:COMP_CWORD-2} " != *" --remove "* ]] || words+=" $(tidewell keep --list 2>/dev/null)"
      ;;
    site-settings) ((COMP_CWORD == 2)) && words+=" keep remove" ;;
    grants)
      if [[ ${COMP_WORDS[2]} == revoke ]] && ((COMP_CWORD == 3)); then
        # Not by compgen, which would expand what a folder's name holds.
        local folder
        while IFS= read -r folder; do
          [[ $folder != "$current"* ]] || COMPREPLY+=("$(printf '%q' "$folder")")
        done < <(tidewell grants 2>/dev/null)
        return
      fi
      ((COMP_CWORD == 2)) && words+=" --json revoke"
      ;;
    defaults)
      case $COMP_CWORD in
        2) words="read write delete" ;;
        3) words=$domains ;;
        4) words="enabledBrowsers displayNotifications notifyAlways secureDeleteData userFolder homeLayout currentStores keepSiteSettings keptSites startedWith" ;;
        5) words=$([[ ${COMP_WORDS[2]} == write ]] && echo "-string -bool -int -array") ;;
        6) words=$([[ ${COMP_WORDS[5]} == -bool ]] && echo "YES NO") ;;
        *) words="" ;;
      esac
      ;;
    *) return ;;
  esac
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -F _tidewell tidewell
