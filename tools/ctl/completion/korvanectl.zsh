#compdef korvanectl
_korvanectl()
{
    local -a names
    names=("${(@f)$(korvanectl --complete "${(@)words[2,CURRENT]}" 2>/dev/null)}")
    if [[ -n $names ]]; then
        compadd -- "${(@)names}"
    else
        _files
    fi
}
if [[ $funcstack[1] == _korvanectl ]]; then
    _korvanectl "$@"
else
    compdef _korvanectl korvanectl
fi
