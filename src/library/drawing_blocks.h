// One drawing as fetching leaves it and merging takes it, whatever the file's format and state.
#pragma once

#include <exception>
#include <string>
#include <vector>

#include "library/growing_rows.h"

namespace quillon {

/// A block that wants to enter the library.
struct DrawingBlock {
    std::string key;  // at least three fields
    /// Console text that stands before this block: one line for each block rejected ahead of it.
    std::string remarks;
    /// Why a vector can't be taken (an element is no number); thrown when the block is added, which
    /// a duplicate never is.
    std::exception_ptr shapeFault;
    std::exception_ptr textFault;
};

struct DrawingBlocks {
    std::vector<DrawingBlock> blocks;
    GrowingRows shapes{shapeWidth};  // a row for each block, of no use where there is a fault
    GrowingRows texts{textWidth};
    /// What stands after the last block: console text, then the failure that ends the document.
    std::string remarks;
    std::exception_ptr failure;
    /// The file holds null and nothing else.
    bool isNull = false;
};

/// Whether each block has its two rows and there are no others.
inline bool hasEqualLengths(const DrawingBlocks& drawing) {
    return drawing.shapes.rowCount() == drawing.blocks.size() &&
           drawing.texts.rowCount() == drawing.blocks.size();
}

}  // namespace quillon
