# Merges the results of one query against the parts of a library, for the methods shape and text:
#     jq -s --argjson k 5 -f scripts/merge-results.jq RESULT.json ...
# The results stand in the order of the parts in the list. k is the /topk that every run had, -1 for
# all hits. After runs with /no-dedup add --argjson dedup false. docs/scaling.md says what is exact.
def refuseScores:
  if any(.[].blocks // [] | .[]; .shapeWeight > 0)
  then error("results of /method adaptive do not merge") else . end;

# Of equal codes the first in the list order counts, as in one run.
def firstOfEachCode: if $ARGS.named.dedup == false then . else unique_by(.value.code) end;

# Parts of one number in all results.
def total(number): map(.stats | number) | add;

refuseScores
| ([.[].blocks // [] | .[]] | to_entries | firstOfEachCode | sort_by(.value.distOrScore, .key)
   | map(.value) | if $k < 0 then . else .[:$k] end) as $hits
| {
    blocks: (if $hits == [] then null else $hits end),
    stats: {
      failedDrawings: total(.failedDrawings),
      resultBlocks: ($hits | length),
      totalBlocks: total(.totalBlocks),
      totalDrawings: total(.totalDrawings),
      uniqueBlocks: total(.uniqueBlocks)
    }
  }
