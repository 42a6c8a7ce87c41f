// The result document: its exact form and number types, the fields of a block key, and the names of
// drawings.
#include "output/result_document.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <system_error>

#include "shared/utf8_path.h"
#include "support/temp_folder.h"

namespace quillon::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

BlockRecord record(const std::string& path, const std::string& key) {
    return {std::make_shared<const fs::path>(pathFromUtf8(path)), key};
}

/// Returns the only hit of a result for a block with this path and key.
json hitFor(const std::string& path, const std::string& key) {
    const json document = buildResultDocument({{0, 0.5F}}, {record(path, key)}, {});
    EXPECT_EQ(document.at("blocks").size(), 1U);
    return document.at("blocks").at(0);
}

TEST(BuildResultDocument, WritesEveryMember) {
    const json document = buildResultDocument(
        {{1, 0.3F, 0.4F, 0.6F}},
        {record("/lib/a1/encodings.json", "Window*W1*2F"), record("/lib/b2/e.json", "Door*D 7*3A")},
        {41, 3, 120, 99});
    EXPECT_EQ(document.dump(),
              R"({"blocks":[{"code":"D 7","distOrScore":0.30000001192092896,"dwgPathHash":"b2",)"
              R"("handle":"3A","index":1,"name":"Door","shapeWeight":0.4000000059604645,)"
              R"("textWeight":0.6000000238418579}],"stats":{"failedDrawings":3,"resultBlocks":1,)"
              R"("totalBlocks":120,"totalDrawings":41,"uniqueBlocks":99}})");
}

TEST(BuildResultDocument, UsesTheNumberKindsOfTheFormat) {
    const json document =
        buildResultDocument({{0, 1.0F}}, {record("/lib/a/e.json", "n*c*h")}, {1, 0, 1, 1});
    for (const auto& [key, value] : document.at("stats").items()) {
        EXPECT_TRUE(value.is_number_unsigned()) << key;
    }
    const json& hit = document.at("blocks").at(0);
    EXPECT_EQ(hit.at("index").type(), json::value_t::number_integer);
    for (const char* key : {"distOrScore", "shapeWeight", "textWeight"}) {
        EXPECT_TRUE(hit.at(key).is_number_float()) << key;
    }
}

TEST(BuildResultDocument, HasNullBlocksWithoutAHit) {
    const json document = buildResultDocument({}, {record("/lib/a/e.json", "n*c*h")}, {2, 1, 5, 4});
    EXPECT_EQ(document.dump(),
              R"({"blocks":null,"stats":{"failedDrawings":1,"resultBlocks":0,"totalBlocks":5,)"
              R"("totalDrawings":2,"uniqueBlocks":4}})");
}

TEST(BuildResultDocument, SkipsHitsPastTheRecordsButCountsThem) {
    const std::vector<BlockRecord> records{record("/a/e.json", "n0*c*h"),
                                           record("/a/e.json", "n1*c*h")};
    const std::int64_t huge = std::numeric_limits<std::int64_t>::max();
    json document = buildResultDocument({{2, 0.1F}, {1, 0.2F}, {huge, 0.3F}}, records, {});
    EXPECT_EQ(document["stats"]["resultBlocks"], 3);
    ASSERT_EQ(document["blocks"].size(), 1U);
    EXPECT_EQ(document["blocks"][0]["name"], "n1");

    document = buildResultDocument({{2, 0.1F}, {3, 0.2F}}, records, {});
    EXPECT_EQ(document["stats"]["resultBlocks"], 2);
    EXPECT_TRUE(document["blocks"].is_null());
}

TEST(BuildResultDocument, KeepsTheOrderOfTheHits) {
    const BlockRecord first = record("/lib/a/e.json", "n0*c0*h0");
    const std::vector<BlockRecord> records{
        first, record("/lib/b/e.json", "n1*c1*h1"), {first.encodingsPath, "n2*c2*h2"}};
    const json document =
        buildResultDocument({{2, 0.9F}, {1, 0.1F}, {0, 0.5F}, {2, 0.9F}}, records, {});
    json seen;
    for (const json& hit : document["blocks"]) {
        seen.push_back({hit["index"], hit["name"], hit["distOrScore"], hit["dwgPathHash"]});
    }
    EXPECT_EQ(seen, json({{2, "n2", double{0.9F}, "a"},
                          {1, "n1", double{0.1F}, "b"},
                          {0, "n0", 0.5, "a"},
                          {2, "n2", double{0.9F}, "a"}}));
}

TEST(BuildResultDocument, SplitsTheBlockKey) {
    const struct {
        const char* key;
        const char* name;
        const char* code;
        const char* handle;
    } cases[] = {
        {"Door*D7*3A", "Door", "D7", "3A"},
        {"TÜR 90*椅子*0", "TÜR 90", "椅子", "0"},
        {"Do*or*D7*3A", "Do", "or", "D7"},
        {"Door*D7*3A*fourth*fifth", "Door", "D7", "3A"},
        {"Door**3A", "Door", "", "3A"},
        {"**", "", "", ""},
        {" Door * D7 * 3A ", " Door ", " D7 ", " 3A "},
    };
    for (const auto& [key, name, code, handle] : cases) {
        EXPECT_EQ(hitFor("/lib/a/e.json", key), json({{"name", name},
                                                      {"code", code},
                                                      {"handle", handle},
                                                      {"index", 0},
                                                      {"distOrScore", 0.5},
                                                      {"shapeWeight", 0.0},
                                                      {"textWeight", 0.0},
                                                      {"dwgPathHash", "a"}}))
            << key;
    }
}

/// Returns an absolute path in the form of the system, on Windows with the current drive and with
/// backslashes.
std::string ownWriting(const char* path) {
    return utf8FromPath(fs::absolute(pathFromUtf8(path)).make_preferred());
}

TEST(BuildResultDocument, NamesTheDrawing) {
    const struct {
        const char* encodingsPath;
        const char* member;
        const char* value;
    } cases[] = {
        {"/data/R/.blocksMetadata/4e/door.dwg/encodings.json", "dwgPath", "/data/R/door.dwg"},
        {"/data/Türen/.blocksMetadata/4e/椅子.dxf/e.cbor", "dwgPath", "/data/Türen/椅子.dxf"},
        {"/data/hash77/encodings.json", "dwgPathHash", "hash77"},
        {"hash77/encodings.json", "dwgPathHash", "hash77"},
        {"Türen/encodings.json", "dwgPathHash", "Türen"},
        {"/encodings.json", "dwgPathHash", ""},
        {"encodings.json", "dwgPathHash", ""},
        // The marker counts at any place in the path, in this letter case only.
        {"/a/b/c/d/x.blocksMetadata.json", "dwgPath", "/a/d"},
        {"/r/my.blocksMetadata.old/4e/door.dwg/e.json", "dwgPath", "/r/door.dwg"},
        {"/r/.BlocksMetadata/4e/door.dwg/e.json", "dwgPathHash", "door.dwg"},
        {"/r/.blocksmetadata/4e/door.dwg/e.json", "dwgPathHash", "door.dwg"},
        {"/r/blocksMetadata/4e/door.dwg/e.json", "dwgPathHash", "door.dwg"},
    };
    for (const auto& [path, member, value] : cases) {
        SCOPED_TRACE(path);
        const json hit = hitFor(path, "n*c*h");
        EXPECT_EQ(hit.value(member, "missing"), *value == '/' ? ownWriting(value) : value);
        EXPECT_EQ(hit.size(), 8U);
    }
}

TEST(BuildResultDocument, KeepsNumbersThatAreNotFinite) {
    const float infinity = std::numeric_limits<float>::infinity();
    const json document =
        buildResultDocument({{0, std::numeric_limits<float>::quiet_NaN(), infinity, -infinity}},
                            {record("/lib/a/e.json", "n*c*h")}, {});
    const json& hit = document.at("blocks").at(0);
    EXPECT_TRUE(std::isnan(hit.at("distOrScore").get<double>()));
    EXPECT_EQ(hit.at("shapeWeight").get<double>(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(hit.at("textWeight").get<double>(), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(hit.dump(), R"({"code":"c","distOrScore":null,"dwgPathHash":"a","handle":"h",)"
                          R"("index":0,"name":"n","shapeWeight":null,"textWeight":null})");
}

TEST(ResolveDrawingPath, UsesDepthAndDirectoryNameAlone) {
    const struct {
        const char* encodingsPath;
        const char* drawing;
    } cases[] = {
        {"/R/.blocksMetadata/X/D/F", "/R/D"},
        {"/R/S/anything/X/D/F", "/R/S/D"},
        // at another depth
        {"/q/R/.blocksMetadata/D/F", "/q/D"},
        {"/q/R/.blocksMetadata/X/Y/D/F", "/q/R/.blocksMetadata/D"},
        // fewer than four levels: the path ends at the root
        {"/.blocksMetadata/D/F", "/D"},
        {"/D/F", "/D"},
        {"/F", "/"},
        // "." and ".." are collapsed
        {"/R/./S/../.blocksMetadata/X/./D/F", "/R/D"},
        {"/R//.blocksMetadata///X/D//F", "/R/D"},
        {"/none/such/.blocksMetadata/X/D/F", "/none/such/D"},
    };
    for (const auto& [path, drawing] : cases) {
        EXPECT_EQ(utf8FromPath(resolveDrawingPath(path)), ownWriting(drawing)) << path;
    }
}

TEST(ResolveDrawingPath, ResolvesARelativePathFromTheCurrentDirectory) {
    const fs::path here = fs::current_path();
    EXPECT_EQ(resolveDrawingPath("R/.blocksMetadata/X/D/F"), here / "R" / "D");
    EXPECT_EQ(resolveDrawingPath(".blocksMetadata/X/D/F"), here / "D");
    EXPECT_EQ(resolveDrawingPath("./.blocksMetadata/X/D/F"), here / "D");
    EXPECT_EQ(resolveDrawingPath("X/D/F"), here.parent_path() / "D");
}

#ifdef _WIN32

TEST(ResolveDrawingPath, AcceptsDrivesSharesAndDevicePaths) {
    const struct {
        const char* encodingsPath;
        const char* drawing;
    } cases[] = {
        {R"(C:\R\.blocksMetadata\X\D\F)", R"(C:\R\D)"},
        {"C:/R/.blocksMetadata/X/D/F", R"(C:\R\D)"},
        {R"(C:\D\F)", R"(C:\D)"},
        {R"(\\server\share\R\.blocksMetadata\X\D\F)", R"(\\server\share\R\D)"},
        {"//server/share/R/.blocksMetadata/X/D/F", R"(\\server\share\R\D)"},
        // The share is the root of the path.
        {R"(\\server\share\D\F)", R"(\\server\share\D)"},
        {R"(\\?\C:\R\.blocksMetadata\X\D\F)", R"(\\?\C:\R\D)"},
        {R"(\\?\UNC\server\share\R\.blocksMetadata\X\D\F)", R"(\\?\UNC\server\share\R\D)"},
    };
    for (const auto& [path, drawing] : cases) {
        EXPECT_EQ(utf8FromPath(resolveDrawingPath(path)), drawing) << path;
    }
}

#else  // where the current directory can be removed

TEST(ResolveDrawingPath, FailsWithoutACurrentDirectory) {
    const fs::path before = fs::current_path();
    const test::TempFolder folder;
    fs::current_path(folder.path());
    fs::remove(folder.path());
    std::error_code code;
    try {
        resolveDrawingPath("R/.blocksMetadata/X/D/F");
    } catch (const fs::filesystem_error& error) {
        code = error.code();
    }
    fs::current_path(before);
    EXPECT_EQ(code, std::errc::no_such_file_or_directory);
}
#endif

}  // namespace
}  // namespace quillon::test
