#compdef quillon
# Completion of Quillon's command line for zsh.

local -a names
names=(
    '/filelist:the block library, a list of encodings files'
    '/encode:the query block'
    '/output:the result document'
    '/method:how to rank'
    '/topk:the largest number of hits'
    '/min:the threshold'
    '/no-dedup:search duplicates as well'
    '/no-parallel-load:read the encodings files one after the other'
    '/pretty:indent a JSON result'
)
case $words[CURRENT-1] in
    /filelist | /encode | /output) _files -g '*.(json|bson|cbor|msgpack|ubj|jdb)' ;;
    /method) compadd adaptive shape text simple ;;
    /topk | /min) _message number ;;
    *) _describe option names ;;
esac
