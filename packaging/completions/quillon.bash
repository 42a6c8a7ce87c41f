# Completion of Quillon's command line for bash. Option names begin with a slash, as paths do. So it
# first finds out, as the program does, whether the word is the value of an option.

_quillon() {
    local option i
    for ((i = 1; i < COMP_CWORD; i++)); do
        option=
        case ${COMP_WORDS[i]} in
            /filelist | /encode | /output | /method | /topk | /min)
                option=${COMP_WORDS[i]}
                ((i++))
                ;;
        esac
    done
    # An option whose value is before this word does not matter.
    ((i > COMP_CWORD)) || option=

    local word=${COMP_WORDS[COMP_CWORD]} extension
    COMPREPLY=()
    case $option in
        /filelist | /encode | /output)
            compopt -o filenames 2>/dev/null # quotes special characters; fails outside a completion
            # Without the quotes typed so far. The shell adds its own.
            word=${word#[\"\']}
            word=${word//\\/}
            mapfile -t COMPREPLY < <(
                compgen -d -- "$word"
                for extension in json bson cbor msgpack ubj jdb; do
                    compgen -f -X "!*.$extension" -- "$word"
                done
            )
            ;;
        /method) mapfile -t COMPREPLY < <(compgen -W 'adaptive shape text simple' -- "$word") ;;
        /topk | /min) ;;
        *)
            mapfile -t COMPREPLY < <(compgen -W '/filelist /encode /output /method /topk /min
                /no-dedup /no-parallel-load /pretty' -- "$word")
            ;;
    esac
}

complete -F _quillon quillon
