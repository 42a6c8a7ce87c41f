#include "output/result_document.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>

#include "library/block_key.h"
#include "shared/document_keys.h"
#include "shared/json_tree.h"
#include "shared/utf8_path.h"

namespace quillon {
namespace {

using nlohmann::json;

/// Returns name and value of the member that names a drawing.
std::pair<std::string, std::string> drawingMember(const std::filesystem::path& encodingsPath) {
    if (utf8FromPath(encodingsPath).find(metadataMarker) != std::string::npos) {
        return {"dwgPath", utf8FromPath(resolveDrawingPath(encodingsPath))};
    }
    return {"dwgPathHash", utf8FromPath(encodingsPath.parent_path().filename())};
}

}  // namespace

std::filesystem::path resolveDrawingPath(const std::filesystem::path& encodingsPath) {
    const std::filesystem::path directoryName = encodingsPath.parent_path().filename();
    return fullPath(encodingsPath / "../../../.." / directoryName);
}

json buildResultDocument(const std::vector<SearchResult>& hits,
                         const std::vector<BlockRecord>& records, const LoadCounters& counters) {
    // Containers are made explicitly, member by member. For an initialiser list nlohmann json first
    // makes arrays, and needs memory to free them. A null that becomes a container is left invalid
    // when the allocation fails.
    JsonTree document(json::object());
    json& stats = document.root["stats"] = json::object();
    stats["failedDrawings"] = counters.failedDrawings;
    stats["resultBlocks"] = std::uint64_t{hits.size()};
    stats["totalBlocks"] = counters.totalBlocks;
    stats["totalDrawings"] = counters.totalDrawings;
    stats["uniqueBlocks"] = counters.uniqueBlocks;

    json& blocks = document.root["blocks"];
    // Many hits come from few drawings, and resolving a path takes longer than the rest of a hit.
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
        const std::vector<std::string_view> fields = splitBlockKey(record.blockKey);
        if (blocks.is_null()) {
            blocks = json::array();
        }
        json& block = blocks.emplace_back(json::object());
        block["name"] = fields[0];
        block["code"] = fields[1];
        block["handle"] = fields[2];
        block["index"] = hit.index;
        block["distOrScore"] = double{hit.distOrScore};
        block["shapeWeight"] = double{hit.shapeWeight};
        block["textWeight"] = double{hit.textWeight};
        block[drawing->second.first] = drawing->second.second;
    }
    return std::move(document.root);
}

}  // namespace quillon
