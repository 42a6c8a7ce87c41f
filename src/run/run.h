// One run of the tool: one query against one library, from the arguments to the result file.
#pragma once

#include <string>
#include <vector>

namespace quillon {

/// `arguments` are UTF-8, element 0 being the program's own name. Returns 0, or -1 when a required
/// path is missing; fails by throwing. The result file is touched only after everything else has
/// succeeded. Stages run one after the other on the calling thread.
int run(const std::vector<std::string>& arguments);

}  // namespace quillon
