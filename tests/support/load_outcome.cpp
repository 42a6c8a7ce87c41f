#include "support/load_outcome.h"

#include "library/load_library.h"
#include "shared/utf8_path.h"
#include "support/console_capture.h"
#include "support/failure_texts.h"

namespace quillon::test {

LoadOutcome outcomeOf(const std::function<void(BlockLibrary&)>& loadInto) {
    LoadOutcome outcome;
    const ConsoleCapture console;
    outcome.failure = failureOf([&] { loadInto(outcome.library); });
    outcome.console = console.text();
    return outcome;
}

LoadOutcome load(const std::filesystem::path& list, bool parallelLoad, bool dedupe,
                 KeptSides kept) {
    return outcomeOf([&](BlockLibrary& library) {
        loadBlockLibrary(list, parallelLoad, dedupe, library, kept);
    });
}

std::string summary(std::size_t drawings, std::size_t total, std::size_t unique,
                    std::size_t duplicated) {
    return "   total drawings: " + std::to_string(drawings) +
           "\n     total blocks: " + std::to_string(total) +
           "\n    unique blocks: " + std::to_string(unique) +
           "\nduplicated blocks: " + std::to_string(duplicated) + "\n";
}

std::string progressLine(std::size_t files, const std::filesystem::path& list) {
    // A path is quoted as JSON text quotes a string.
    return "Loading encodings from " + std::to_string(files) + " files in " +
           nlohmann::json(utf8FromPath(list)).dump() + "\n";
}

std::string failLine(const nlohmann::json& entry, const std::string& text) {
    return "Fail to load " + entry.dump() + "\n\t" + text + "\n";
}

std::vector<std::string> blockKeys(const BlockLibrary& library) {
    std::vector<std::string> keys;
    for (const BlockRecord& record : library.records) {
        keys.push_back(record.blockKey);
    }
    return keys;
}

std::vector<float> marks(const FeatureMatrix& matrix) {
    std::vector<float> values;
    for (std::size_t row = 0; row < matrix.shape(0); ++row) {
        values.push_back(matrix(row, 0));
    }
    return values;
}

}  // namespace quillon::test
