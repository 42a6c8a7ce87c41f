// What the BLAS library takes for its products without being able to go without.
#pragma once

namespace quillon {

/// To be called before any product; makes the first one. BLAS asks for its work space for as long
/// as it is refused and its threads end the process when they can't be started, so both are tried
/// here: where threads are refused, products run on the calling thread from here on; where the work
/// space is, this throws std::bad_alloc.
void secureProducts();

}  // namespace quillon
