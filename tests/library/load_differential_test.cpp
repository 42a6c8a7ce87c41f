// The load against the plain one that holds every file as a tree: rows, records, counts, console
// and exception must be the same for well-formed and other documents, in every format and either
// mode.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "reference/tree_load.h"
#include "shared/utf8_path.h"
#include "support/documents.h"
#include "support/formats.h"
#include "support/load_outcome.h"
#include "support/odd_documents.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

using nlohmann::json;

std::string bitsOf(const FeatureMatrix& matrix) {
    std::string bytes(matrix.size() * sizeof(float), '\0');
    if (!bytes.empty()) {
        std::memcpy(bytes.data(), matrix.data(), bytes.size());
    }
    return std::to_string(matrix.shape(0)) + "x" + std::to_string(matrix.shape(1)) + ":" + bytes;
}

std::string recordsOf(const BlockLibrary& library) {
    std::string text;
    for (const BlockRecord& record : library.records) {
        text += utf8FromPath(*record.encodingsPath) + '|' + record.blockKey + '\n';
    }
    return text;
}

std::vector<std::uint64_t> countersOf(const BlockLibrary& library) {
    const LoadCounters& counters = library.counters;
    return {counters.totalDrawings, counters.failedDrawings, counters.totalBlocks,
            counters.uniqueBlocks};
}

void expectSameRows(const FeatureMatrix& ours, const FeatureMatrix& plain, bool isKept) {
    if (isKept) {
        ASSERT_TRUE(bitsOf(ours) == bitsOf(plain));
    } else {
        ASSERT_EQ(ours.shape(0), 0U);
    }
}

/// Both loads of one list in both modes, with and without deduplication, and ours of one side
/// alone.
void expectSameLoads(const std::filesystem::path& list, const std::string& label) {
    for (const bool parallelLoad : {true, false}) {
        for (const bool dedupe : {true, false}) {
            const LoadOutcome plain = outcomeOf([&](BlockLibrary& library) {
                reference::loadBlockLibrary(list, parallelLoad, dedupe, library);
            });
            const std::string where = label + (parallelLoad ? ", parallel" : ", sequential") +
                                      (dedupe ? "" : ", no dedup");
            for (const KeptSides kept : {KeptSides{}, {true, false}, {false, true}}) {
                SCOPED_TRACE(where + (kept.shape ? "" : ", no shapes") +
                             (kept.text ? "" : ", no texts"));
                const LoadOutcome ours = load(list, parallelLoad, dedupe, kept);
                ASSERT_EQ(ours.console, plain.console);
                ASSERT_EQ(ours.failure, plain.failure);
                ASSERT_EQ(recordsOf(ours.library), recordsOf(plain.library));
                ASSERT_EQ(countersOf(ours.library), countersOf(plain.library));
                expectSameRows(ours.library.shapeMatrix, plain.library.shapeMatrix, kept.shape);
                expectSameRows(ours.library.textMatrix, plain.library.textMatrix, kept.text);
            }
        }
    }
}

class LibraryFolder {
  public:
    void add(std::string_view extension, const std::string& bytes) {
        files.push_back(utf8FromPath(
            folder.write(std::to_string(files.size()) + std::string(extension), bytes)));
    }
    void addMissing(const std::string& name) { files.push_back(name); }
    std::filesystem::path list() const { return writeList(folder, files); }

  private:
    TempFolder folder;
    json files = json::array();
};

TEST(LoadBlockLibrary, EqualsThePlainLoadOnWellFormedDocuments) {
    std::mt19937 random(1);
    for (const std::string_view extension : allExtensions) {
        for (int repeat = 0; repeat < 12; ++repeat) {
            LibraryFolder folder;
            for (int file = 0; file < 5; ++file) {
                folder.add(extension, encoded(wellFormedDocument(random), extension));
            }
            expectSameLoads(folder.list(), std::string(extension));
        }
    }
}

TEST(LoadBlockLibrary, EqualsThePlainLoadOnOtherDocuments) {
    std::mt19937 random(2);
    for (std::size_t kind = 0; kind < illFormedCount; ++kind) {
        for (const std::string_view extension : allExtensions) {
            for (int repeat = 0; repeat < 3; ++repeat) {
                json other = wellFormedDocument(random);
                const std::string name = makeIllFormed(other, kind, random);
                // Among good files, so that what stands before and behind it counts too.
                LibraryFolder folder;
                folder.add(".json", encoded(wellFormedDocument(random), ".json"));
                folder.add(extension, encoded(other, extension));
                folder.add(".cbor", encoded(wellFormedDocument(random), ".cbor"));
                folder.addMissing("missing.json");
                expectSameLoads(folder.list(), name + ", " + std::string(extension));
            }
        }
    }
}

TEST(LoadBlockLibrary, EqualsThePlainLoadOnDamagedText) {
    std::mt19937 random(3);
    for (std::size_t kind = 0; kind < damageCount; ++kind) {
        for (int repeat = 0; repeat < 10; ++repeat) {
            std::string text = encoded(wellFormedDocument(random), ".json");
            const std::string name = damageText(text, kind, random);
            LibraryFolder folder;
            folder.add(".json", text);
            folder.add(".json", encoded(wellFormedDocument(random), ".json"));
            expectSameLoads(folder.list(), name);
        }
    }
}

TEST(LoadBlockLibrary, EqualsThePlainLoadOnDamagedBytes) {
    std::mt19937 random(4);
    for (const std::string_view extension : allExtensions) {
        for (int repeat = 0; repeat < 40; ++repeat) {
            std::string bytes = encoded(wellFormedDocument(random), extension);
            // The structure stands in the first bytes and around the vectors' ends.
            const std::size_t place = random() % (repeat % 2 == 0 ? 64 : bytes.size());
            bytes[place] = static_cast<char>(random());
            if (repeat % 5 == 0) {
                bytes.resize(random() % bytes.size());
            }
            LibraryFolder folder;
            folder.add(extension, bytes);
            folder.add(".msgpack", encoded(wellFormedDocument(random), ".msgpack"));
            expectSameLoads(folder.list(), std::string(extension) + " byte " +
                                               std::to_string(place) + " repeat " +
                                               std::to_string(repeat));
        }
    }
}

TEST(LoadBlockLibrary, EqualsThePlainLoadOnMixedLibraries) {
    std::mt19937 random(5);
    for (int repeat = 0; repeat < 60; ++repeat) {
        LibraryFolder folder;
        for (int file = 0; file < 8; ++file) {
            const std::string_view extension = allExtensions[random() % allExtensions.size()];
            json document = wellFormedDocument(random);
            if (random() % 4 == 0) {
                makeIllFormed(document, random() % illFormedCount, random);
            }
            folder.add(extension, encoded(document, extension));
        }
        expectSameLoads(folder.list(), "mixed library " + std::to_string(repeat));
    }
}

}  // namespace
}  // namespace quillon::test
