# bash completion for subhalctl. All choices come from the program's own help and list, so this file
# knows neither verbs nor options nor sensors.

_subhalctl() {
    local word=${COMP_WORDS[COMP_CWORD]} last=${COMP_WORDS[COMP_CWORD - 1]}
    local help verbs choices="" i command=("$1") hub=()

    # Down to the innermost verb on the line.
    for ((i = 1; i <= COMP_CWORD; ++i)); do
        help=$("${command[@]}" --help 2>/dev/null)
        verbs=$(sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\).*/\1/p' <<<"$help")
        [[ ${COMP_WORDS[i]} == --sim ]] && hub=(--sim)
        ((i < COMP_CWORD)) && [[ $'\n'$verbs$'\n' == *$'\n'"${COMP_WORDS[i]}"$'\n'* ]] &&
            command+=("${COMP_WORDS[i]}")
    done

    # "--format TEXT:{text,csv,json}"
    [[ $last == --* ]] &&
        choices=$(sed -n "s/^  \(-[a-z],\)\?$last [^{]*{\([^}]*\)}.*/\2/p" <<<"$help" | tr , '\n')
    if [[ -n $choices ]]; then
        :
    elif [[ $word == -* ]]; then
        choices=$(sed -n 's/^  \(-[a-z],\)\?\(--[a-z-]*\).*/\2/p' <<<"$help")
    elif [[ -n $verbs ]]; then
        choices=$verbs
    elif grep -q '^  SENSOR' <<<"$help"; then
        choices=$("$1" "${hub[@]}" list 2>/dev/null | awk '$1 ~ /^[0-9]+$/ { print $2 }')
    fi
    mapfile -t COMPREPLY < <(compgen -W "$choices" -- "$word")
    ((${#COMPREPLY[@]})) || compopt -o default 2>/dev/null
}

complete -F _subhalctl subhalctl
