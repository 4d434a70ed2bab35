# Completion of utmctl in bash: asks utmctl itself what may come next.

# Puts the word as a command gets it into $plain: without quotes and backslashes, nothing replaced.
_utmctl_unquote() {
    local left=$1 quote="" letter
    plain=""
    while [[ -n $left ]]; do
        letter=${left:0:1} left=${left:1}
        case $quote$letter in
        \' | \") quote=$letter ;;
        \'\' | \"\") quote="" ;;
        \\ | \"\\)
            # Within double quotes it is a letter of its own, unless before one of these.
            [[ -z $quote || $left == [\"\\\$\`]* ]] || plain+=$letter
            plain+=${left:0:1} left=${left:1}
            ;;
        *) plain+=$letter ;;
        esac
    done
}

# bash breaks a word at : and =, and puts a candidate in place of what follows the last of them. Joins the pieces that
# no blank parts to $words, the last of which ends at the cursor, and puts what stands before its last piece into $kept.
_utmctl_take_words() {
    local piece plain left=${COMP_LINE:0:COMP_POINT}
    words=()
    for piece in "${COMP_WORDS[@]:0:COMP_CWORD+1}"; do
        if ((${#words[@]} == 0)) || [[ $left == [[:space:]]* ]]; then
            left=${left#"${left%%[![:space:]]*}"}
            words+=("")
        fi
        [[ $left == "$piece"* ]] || piece=$left
        left=${left#"$piece"}
        kept=${words[-1]}
        _utmctl_unquote "$piece"
        words[-1]+=$plain
        [[ $piece == *[!:=]* ]] || kept=${words[-1]}
    done
}

_utmctl() {
    local candidate kept
    local -a words
    _utmctl_take_words

    COMPREPLY=()
    while read -r candidate; do
        if [[ $candidate == :files ]]; then
            compopt -o filenames 2>/dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "${words[-1]#"$kept"}")
        else
            COMPREPLY+=("${candidate#"$kept"}")
        fi
    done < <("${words[0]}" complete "${words[@]:1}" 2>/dev/null)
}

complete -F _utmctl utmctl
