# fish completion for korvanectl
function __korvanectl_complete
    set --local words (commandline --current-process --tokenize --cut-at-cursor)
    set --local names (korvanectl --complete $words[2..-1] (commandline --current-token --cut-at-cursor) 2>/dev/null)
    if set --query names[1]
        printf '%s\n' $names
    else
        __fish_complete_path (commandline --current-token)
    end
end
complete --command korvanectl --no-files --arguments '(__korvanectl_complete)'
