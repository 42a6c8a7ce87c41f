# Completion of quillon-tools for bash: verbs, options with their words, and files.

_quillon_tools() {
    local word=${COMP_WORDS[COMP_CWORD]} options words=
    case ${COMP_WORDS[1]} in
        check) options='--json' ;;
        convert) options='--format --normalise --replace-stars' ;;
        run)
            options='--list --output --jobs --parts --slurm --summary --program --method --topk --min
                --no-dedup'
            ;;
        report) options='--output --pictures --queries --svg --png' ;;
        evaluate) options='--list --program --methods --topk --min --jobs --table' ;;
        encode-dxf) options='--output --queries' ;;
    esac
    case ${COMP_WORDS[COMP_CWORD - 1]} in
        --method | --methods) words='adaptive shape text simple' ;;
        --format) words='json bson cbor msgpack ubj jdb' ;;
        --summary) words='text csv json' ;;
        --table) words='text markdown csv json' ;;
    esac
    COMPREPLY=()
    if ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(
            compgen -W 'check convert run report evaluate encode-dxf --help --version' -- "$word"
        )
    elif [ -n "$words" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
    elif [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options --help" -- "$word")
    else
        compopt -o filenames 2>/dev/null # quotes what needs it; refused outside of a completion
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}

complete -F _quillon_tools quillon-tools
