// The limit of a load as a program of its own, which whole runs are compared with: to give pages to
// a process that has had none costs more than to give them to one that has just freed some.
//     quillon_limit LIST BLOCKS    fails unless the files of LIST, of 32-bit floats, hold so many
#include <exception>
#include <iostream>
#include <string>

#include "benchmark_data.h"
#include "limit.h"
#include "measure.h"
#include "shared/utf8_path.h"

int main(int /*count*/, char** values) {
    using namespace quillon;
    try {
        const bench::LibraryFiles library{pathFromUtf8(values[1]), {}, {}};
        std::size_t blocks = 0;
        for (const bench::MovedRows& rows : bench::loadAtTheLimit(bench::listedFiles(library), 4)) {
            blocks += rows.shapes.rowCount();
        }
        bench::require(std::to_string(blocks) == values[2], "blocks of the limit");
    } catch (const std::exception& exception) {
        std::cerr << exception.what() << '\n';
        return 1;
    }
    return 0;
}
