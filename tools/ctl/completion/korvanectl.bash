# bash completion for korvanectl
_korvanectl()
{
    local name names
    COMPREPLY=()
    mapfile -t names < <(korvanectl --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
    for name in "${names[@]}"; do
        if [[ ${name:0:${#2}} == "$2" ]]; then
            printf -v name '%q' "$name"
            COMPREPLY+=("$name")
        fi
    done
}
complete -o default -F _korvanectl korvanectl
