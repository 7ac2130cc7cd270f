# shellcheck shell=bash
# Completion of tavrel-publish.

_tavrel_publish() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local options="--settings --list --details --fetch --remove --chmod --doctor --dry-run --delete --all --check --connections
        --exclude --temporary-names --keep-times --known-hosts --pin --ca --insecure --identity --agent --stall --json --quiet --help
        --version"
    compopt -o filenames 2> /dev/null
    COMPREPLY=()
    case $previous in
    --fetch) mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
    --settings | --known-hosts | --ca | --identity) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    --chmod | -j | --connections | --exclude | --pin | --stall) ;;
    *)
        if [[ $current == -* ]]; then
            mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
        elif [[ " ${COMP_WORDS[*]} " != *" --"@(list|remove|chmod)" "* ]]; then
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
        fi
        ;;
    esac
}
complete -F _tavrel_publish tavrel-publish
