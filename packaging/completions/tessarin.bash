# Completion of tessarin's arguments for bash.
# shellcheck shell=bash

_tessarin() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words=""
  # "--option=VALUE" comes as three words.
  if [ "$word" = "=" ]; then
    word=""
  elif [ "$before" = "=" ]; then
    before=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  case $before in
    --for) words="quicktime imovie finalcut 50p60p" ;;
    --format) words="quicktime aic prores" ;;
    --prores) words="proxy lt standard hq 4444" ;;
    --size)
      words="auto same 540p25 540p30 720p24 720p25 720p30 720p50 720p60 hdv1080p24 hdv1080p25
        hdv1080p30 hdv1080p50 hdv1080p60 hdv1080i50 hdv1080i60 1080p24 1080p25 1080p30 1080p50
        1080p60 1080i50 1080i60"
      ;;
    --sound) words="all first" ;;
    --slow-sound) words="keep silent slowed" ;;
    --speed) words="full half slow" ;;
    --overwrite) words="ask keep replace" ;;
    --preset | --batch | --from)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return
      ;;
    -d | --destination)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      return
      ;;
    *)
      if [ "${word:0:1}" = "-" ]; then
        words="--preset --for --format --prores --size --speed --surround --no-surround --sound --slow-sound --parts --split-tapes --new -d --destination
          --name --overwrite --jobs --from --batch --row --report --recover --forget --json -v --verbose -h --help -V --version"
      else
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        if [ "$COMP_CWORD" -eq 1 ]; then
          words="convert analyse plan"
        else
          return
        fi
      fi
      ;;
  esac
  local -a found
  mapfile -t found < <(compgen -W "$words" -- "$word")
  COMPREPLY+=("${found[@]}")
}

complete -F _tessarin tessarin
