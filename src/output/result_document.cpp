#include "output/result_document.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>

#include "shared/document_keys.h"
#include "shared/utf8_path.h"

namespace quillon {
namespace {

using nlohmann::json;

/// The member that tells where a drawing is: its name and its text.
std::pair<std::string, std::string> drawingMember(const std::filesystem::path& encodingsPath) {
    if (utf8FromPath(encodingsPath).find(metadataMarker) != std::string::npos) {
        return {"dwgPath", utf8FromPath(resolveDrawingPath(encodingsPath))};
    }
    return {"dwgPathHash", utf8FromPath(encodingsPath.parent_path().filename())};
}

}  // namespace

std::filesystem::path resolveDrawingPath(const std::filesystem::path& encodingsPath) {
    const std::filesystem::path directoryName = encodingsPath.parent_path().filename();
    return std::filesystem::absolute(encodingsPath / "../../../.." / directoryName)
        .lexically_normal();
}

json buildResultDocument(const std::vector<SearchResult>& hits,
                         const std::vector<BlockRecord>& records, const LoadCounters& counters) {
    json document;
    document["stats"] = {
        {"failedDrawings", counters.failedDrawings}, {"resultBlocks", std::uint64_t{hits.size()}},
        {"totalBlocks", counters.totalBlocks},       {"totalDrawings", counters.totalDrawings},
        {"uniqueBlocks", counters.uniqueBlocks},
    };

    json blocks;
    // Many hits come from few drawings, and a path takes longer to resolve than all else of a hit.
    std::unordered_map<const std::filesystem::path*, std::pair<std::string, std::string>> drawings;
    for (const SearchResult& hit : hits) {
        if (hit.index >= static_cast<std::int64_t>(records.size())) {
            continue;
        }
        const BlockRecord& record = records[static_cast<std::size_t>(hit.index)];
        auto drawing = drawings.find(record.encodingsPath.get());
        if (drawing == drawings.end()) {
            drawing =
                drawings.emplace(record.encodingsPath.get(), drawingMember(*record.encodingsPath))
                    .first;
        }
        const std::vector<std::string> fields = splitBlockKey(record.blockKey);
        json block = {
            {"name", fields[0]},
            {"code", fields[1]},
            {"handle", fields[2]},
            {"index", hit.index},
            {"distOrScore", double{hit.distOrScore}},
            {"shapeWeight", double{hit.shapeWeight}},
            {"textWeight", double{hit.textWeight}},
        };
        block[drawing->second.first] = drawing->second.second;
        blocks.push_back(std::move(block));
    }
    document["blocks"] = std::move(blocks);
    return document;
}

}  // namespace quillon
