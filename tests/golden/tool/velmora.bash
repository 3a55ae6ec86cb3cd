# Completion of velmora's commands, options and their values for bash. Elsewhere it offers files.
_velmora() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words= i
    local -a path=()
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
        --count | --eol | --fields | --interval | --keys | --lang | --lang-dir | --lines | --most | --only | --reference | --root | --rows | --sort | --stamp | --tab | --to | -o) ((++i)) ;;
        help | -*) ;;
        *) path+=("${COMP_WORDS[i]}") ;;
        esac
    done
    if ((i > COMP_CWORD)); then
        case $before in
        --eol) words='lf crlf' ;;
        --lang) words='eng ger fra spa rus jpn' ;;
        --lines) words='all' ;;
        --sort) words='name size time' ;;
        --to) words='xml json yaml html csv' ;;
        esac
    elif [[ $word == -* ]]; then
        case ${path[*]} in
        'check' | 'check '*) words='--help -h --lang --lang-dir --version' ;;
        'convert' | 'convert '*) words='--to -o --compact --tab --eol --root --rows --header --raw-escapes --most --help -h --lang --lang-dir --version' ;;
        'lng check' | 'lng check '*) words='--reference --stamp --count --help -h --lang --lang-dir --version' ;;
        'lng compile' | 'lng compile '*) words='-o --stamp --keys --help -h --lang --lang-dir --version' ;;
        'lng dump' | 'lng dump '*) words='--xliff --keys --help -h --lang --lang-dir --version' ;;
        'lng keys' | 'lng keys '*) words='--help -h --lang --lang-dir --version' ;;
        'ls' | 'ls '*) words='--dirs --only-dirs --no-hidden --read-only --sort --json --yaml --csv --header --help -h --lang --lang-dir --version' ;;
        'tail' | 'tail '*) words='--lines --once --fields --only --interval --help -h --lang --lang-dir --version' ;;
        'walk' | 'walk '*) words='--help -h --lang --lang-dir --version' ;;
        *) words='--help -h --lang --lang-dir --version' ;;
        esac
    else
        case ${path[*]} in
        '') words='check convert lng ls tail walk help' ;;
        lng) words='check compile dump keys' ;;
        esac
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}
complete -o default -F _velmora velmora
