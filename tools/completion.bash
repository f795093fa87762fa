# Completes the words of kvt in bash.
_kvt() {
    local found word=${COMP_WORDS[COMP_CWORD]} words=("${COMP_WORDS[@]:0:COMP_CWORD+1}")
    mapfile -t found < <("${1/#\~/$HOME}" completion bash "${words[@]/#/=}" 2>/dev/null)
    COMPREPLY=("${found[@]:1}")
    case ${found[0]-} in
    files) mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -f -- "${word#[\"\']}") && compopt -o filenames 2>/dev/null ;;
    folders) mapfile -t -O ${#COMPREPLY[@]} COMPREPLY < <(compgen -d -- "${word#[\"\']}") && compopt -o filenames 2>/dev/null ;;
    esac
    [[ ${COMPREPLY[0]-} != *[=.] ]] || compopt -o nospace 2>/dev/null
}
complete -F _kvt kvt kvt32
