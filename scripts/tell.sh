# shellcheck shell=sh
# For the demos: shows a command of subhalctl as it can be typed.
tell() {
    printf '\n$ subhalctl'
    for word in "$@"; do
        case $word in
            *[!a-zA-Z0-9_./:@=-]*) printf " '%s'" "$word" ;;
            *) printf ' %s' "$word" ;;
        esac
    done
    printf '\n'
}
