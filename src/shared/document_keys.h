// The keys of the query, list and encodings documents, and the marker of a metadata tree.
#pragma once

namespace quillon {

inline constexpr const char* shapeKey = "shape";
inline constexpr const char* textKey = "text";
inline constexpr const char* queryTextKey = "queryText";
inline constexpr const char* blocksKey = "blocks";
inline constexpr const char* filesKey = "files";
inline constexpr const char* metadataMarker = ".blocksMetadata";

}  // namespace quillon
