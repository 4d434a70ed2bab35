# Completion of utmctl in bash: asks utmctl itself what may come next.

_utmctl() {
    local word candidate typed=${COMP_LINE:0:COMP_POINT}
    local -a words
    read -ra words <<<"$typed"
    [[ $typed == *[[:space:]] ]] && words+=("")
    word=${words[-1]}

    # bash breaks a word at : and =, and puts a candidate in place of what follows the last of them.
    local kept=${word%"${word##*[:=]}"}

    COMPREPLY=()
    while read -r candidate; do
        if [[ $candidate == :files ]]; then
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "${word#"$kept"}")
        else
            COMPREPLY+=("${candidate#"$kept"}")
        fi
    done < <("${words[0]}" complete "${words[@]:1}" 2>/dev/null)
}

complete -F _utmctl utmctl
