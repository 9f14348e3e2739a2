# Completion for bash.
_velmorant() {
    local word=${COMP_WORDS[COMP_CWORD]} command= i library=()
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
        --library) library=(--library "${COMP_WORDS[++i]}") ;;
        -*) ;;
        *)
            command=${COMP_WORDS[i]}
            break
            ;;
        esac
    done
    local commands="stitch explain cache import items groups show render save delete restore trash ignore unignore
        combine separate albums export permission capture-note watch status"
    case $command in
    "") mapfile -t COMPREPLY < <(compgen -W "$commands --library --help --version" -- "$word"; compgen -f -- "$word") ;;
    show | render | save | ignore | separate)
        mapfile -t COMPREPLY < <(compgen -W "$(velmorant "${library[@]}" groups 2>/dev/null | cut -d' ' -f1)" -- "$word") ;;
    unignore)
        mapfile -t COMPREPLY < <(compgen -W "$(velmorant "${library[@]}" groups --ignored 2>/dev/null | cut -d' ' -f1)" -- "$word") ;;
    delete | combine | export)
        mapfile -t COMPREPLY < <(compgen -W "$(velmorant "${library[@]}" items 2>/dev/null | cut -d' ' -f1)" -- "$word") ;;
    restore)
        mapfile -t COMPREPLY < <(compgen -W "$(velmorant "${library[@]}" trash 2>/dev/null | cut -d' ' -f1)" -- "$word") ;;
    permission) mapfile -t COMPREPLY < <(compgen -W "grant limit deny ask" -- "$word") ;;
    trash) mapfile -t COMPREPLY < <(compgen -W "empty" -- "$word") ;;
    cache) mapfile -t COMPREPLY < <(compgen -W "clear" -- "$word") ;;
    *) mapfile -t COMPREPLY < <(compgen -f -- "$word") ;;
    esac
    case $word in
    -*) mapfile -t COMPREPLY < <(compgen -W "$(velmorant "${command:-stitch}" --help 2>/dev/null | grep -o -- '--[a-z-]*')" -- "$word") ;;
    esac
}
complete -o filenames -F _velmorant velmorant
