// What the BLAS library takes for its products without being able to go without.
#pragma once

#include <cstddef>

namespace quillon {

/// To be called before any product of a library of so many rows; makes the first one. BLAS asks for
/// its work space for as long as it is refused and its threads end the process when they can't be
/// started, so both are tried here: where threads are refused, products run on the calling thread
/// from here on, as they do for a small library; where the work space is, this throws
/// std::bad_alloc.
void secureProducts(std::size_t rows);

}  // namespace quillon
