# Splits a file list into parts of consecutive drawings, one list a line:
#     jq -c --argjson parts 4 -f scripts/split-list.jq filelist.json
# Fewer lines than parts when there are fewer drawings. docs/scaling.md shows what to do with them.
.files as $files
| range($parts)
| {files: $files[($files | length) * . / $parts | floor:($files | length) * (. + 1) / $parts | floor]}
| select(.files != [])
