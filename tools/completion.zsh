#compdef kvt kvt32
# Completes the words of kvt in zsh.
_kvt() {
    local -a found=("${(@f)$($words[1] completion zsh "${(@)words[1,CURRENT]#[\"\']}" 2>/dev/null)}")
    local paths=$found[1] result=1
    shift found
    found=("${(@)found%:}")
    (( ! $#found )) || _describe -V kvt found -M 'm:{[:lower:][:upper:]}={[:upper:][:lower:]}' && result=0
    case $paths in
    files) _files && result=0 ;;
    folders) _files -/ && result=0 ;;
    esac
    return result
}
if [[ $funcstack[1] == _kvt ]]; then _kvt "$@"; else compdef _kvt kvt kvt32; fi
