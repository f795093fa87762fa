# Completes the words of kvt in bash.
_kvt() {
    local found word words=()
    for word in "${COMP_WORDS[@]:0:COMP_CWORD+1}"; do # bash makes a word of "=", and keeps quotes
        [[ $word == "=" ]] || words+=("${word#[\"\']}")
    done
    [[ $word != "=" ]] || words+=("")
    mapfile -t found < <("${1/#\~/$HOME}" completion bash "${words[@]}" 2>/dev/null)
    COMPREPLY=("${found[@]:1}")
    COMPREPLY=("${COMPREPLY[@]%%:*}")
    case ${found[0]-} in
    files) mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "${words[-1]}") && compopt -o filenames 2>/dev/null ;;
    folders) mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -d -- "${words[-1]}") && compopt -o filenames 2>/dev/null ;;
    esac
    [[ ${COMPREPLY[0]-} != *[=.] ]] || compopt -o nospace 2>/dev/null
}
complete -F _kvt kvt kvt32
