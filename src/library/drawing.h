// One drawing as it is fetched and then merged, whatever the format and the state of its file.
#pragma once

#include <exception>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "library/growing_rows.h"

namespace quillon {

/// A block that is to enter the library.
struct DrawingBlock {
    std::string key;  // at least three fields
    /// Console text ahead of this block: one line for each block rejected before it.
    std::string diagnostics;
    /// Why a vector can't be taken (an element is no number); thrown when the block is added, which
    /// a duplicate never is.
    std::exception_ptr failure;
    bool hasShape = true;  // otherwise the failure is the shape's
};

struct Drawing {
    std::shared_ptr<const std::filesystem::path> path;
    std::vector<DrawingBlock> blocks;
    GrowingRows shapes{shapeWidth};  // a row for each block, of no use where there is a failure
    GrowingRows texts{textWidth};
    std::string diagnostics;  // console text behind the last block
    /// Why the file can't be read or parsed, or else what ends its document.
    std::exception_ptr failure;
    bool isReadable = true;
    bool isNull = false;  // the file holds null and nothing else
};

/// Whether each block has its two rows and there are no others.
inline bool hasEqualLengths(const Drawing& drawing) {
    return drawing.shapes.rowCount() == drawing.blocks.size() &&
           drawing.texts.rowCount() == drawing.blocks.size();
}

}  // namespace quillon
