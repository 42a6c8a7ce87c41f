#compdef quillon
# Completion of Quillon's command line for zsh.

local -a names
names=(
    '/filelist:the library, a list of encodings files'
    '/encode:the query block'
    '/output:the result document'
    '/method:how to rank'
    '/topk:how many hits at most'
    '/min:the threshold'
    '/no-dedup:keep blocks whose code was seen already'
    '/no-parallel-load:read the encodings files one at a time'
    '/pretty:indent a JSON result'
)
case $words[CURRENT-1] in
    /filelist | /encode | /output) _files -g '*.(json|bson|cbor|msgpack|ubj|jdb)' ;;
    /method) compadd adaptive shape text simple ;;
    /topk | /min) _message number ;;
    *) _describe option names ;;
esac
