# Completion of Quillon's command line for fish.

function __quillon_follows
    contains -- (commandline -opc)[-1] $argv
end

set -l value '__quillon_follows /filelist /encode /output /method /topk /min'
complete -c quillon -f
complete -c quillon -n "not $value" -a /filelist -d 'The block library, a list of encodings files'
complete -c quillon -n "not $value" -a /encode -d 'The query block'
complete -c quillon -n "not $value" -a /output -d 'The result document'
complete -c quillon -n "not $value" -a /method -d 'How to rank'
complete -c quillon -n "not $value" -a /topk -d 'The largest number of hits'
complete -c quillon -n "not $value" -a /min -d 'The threshold'
complete -c quillon -n "not $value" -a /no-dedup -d 'Search duplicates as well'
complete -c quillon -n "not $value" -a /no-parallel-load -d 'Read the encodings files one after the other'
complete -c quillon -n "not $value" -a /pretty -d 'Indent a JSON result'
complete -c quillon -n '__quillon_follows /method' -a 'adaptive shape text simple'
complete -c quillon -n '__quillon_follows /filelist /encode /output' -a "(
    __fish_complete_path (commandline -ct) |
        string match -r '.*(?:/|\.(?:json|bson|cbor|msgpack|ubj|jdb))(?=\t|\z)')"
