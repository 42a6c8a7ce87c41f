// Files read whole: their content, whatever they are, and no handle that stays open.
#include "documents/input_file.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "shared/utf8_path.h"
#include "support/failure_texts.h"
#include "support/temp_folder.h"

#ifndef _WIN32
#include <sys/resource.h>
#include <sys/stat.h>

#include <thread>
#endif

namespace quillon::test {
namespace {

std::string contentOf(const std::filesystem::path& path) {
    return std::string(InputFile(path).readAll().view());
}

/// Different bytes at every place that a page or a buffer begins at.
std::string manyBytes(std::size_t count) {
    std::string text(count, '\0');
    for (std::size_t i = 0; i < count; ++i) {
        text[i] = static_cast<char>(i % 251);
    }
    return text;
}

TEST(InputFile, ReadsWholeFilesOfEverySize) {
    const TempFolder folder;
    for (const std::size_t size : {0U, 1U, 65535U, 65536U, 65537U, 1000000U}) {
        const std::string content = manyBytes(size);
        const auto path = folder.write("file", content);
        EXPECT_EQ(InputFile(path).size(), size);
        EXPECT_TRUE(contentOf(path) == content) << size;
    }
}

TEST(InputFile, NamesWhatCannotBeOpened) {
    const TempFolder folder;
    for (const auto& path : {folder.path() / "Tür" / "missing", folder.path()}) {
        EXPECT_EQ(thrownText<std::runtime_error>([&] { InputFile file(path); }),
                  "fail to open input file: " + utf8FromPath(path));
    }
}

/// A file that is open can't be removed on Windows.
TEST(InputFile, ClosesItsFile) {
    const TempFolder folder;
    const auto path = folder.write("file", std::string_view("content"));
    EXPECT_EQ(contentOf(path), "content");
    EXPECT_TRUE(std::filesystem::remove(path));
#ifdef __linux__
    const auto openFiles = [] {
        std::size_t count = 0;
        for ([[maybe_unused]] const auto& entry :
             std::filesystem::directory_iterator("/proc/self/fd")) {
            ++count;
        }
        return count;
    };
    const std::size_t before = openFiles();
    EXPECT_EQ(contentOf(folder.write("file", std::string_view("content"))), "content");
    EXPECT_THROW(InputFile file(folder.path()), std::runtime_error);
    EXPECT_EQ(openFiles(), before);
#endif
}

#ifndef _WIN32

/// A pipe has no size and hands over what it holds, 64 KiB at most.
TEST(InputFile, ReadsPipesToTheirEnd) {
    const TempFolder folder;
    const auto path = folder.path() / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const std::string content = manyBytes(300000);
    const std::jthread writer([&] { std::ofstream(path, std::ios::binary) << content; });
    InputFile file(path);
    EXPECT_EQ(file.size(), 0U);
    EXPECT_TRUE(file.readAll().view() == content);
}

TEST(InputFile, SaysWhenTooManyFilesAreOpen) {
    const TempFolder folder;
    const auto path = folder.write("file", std::string_view("content"));
    // A sanitizer needs descriptors when it sees a type of exception for the first time.
    EXPECT_EQ(thrownText<TooManyOpenFiles>([] { throw TooManyOpenFiles("seen"); }), "seen");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none{0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const std::string text = thrownText<TooManyOpenFiles>([&] { InputFile file(path); });
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(text, "fail to open input file: " + utf8FromPath(path));
}

#endif

}  // namespace
}  // namespace quillon::test
